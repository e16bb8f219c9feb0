// Objects made from the names of their classes.
#ifndef ORVO_OBJECT_FACTORY_H
#define ORVO_OBJECT_FACTORY_H

#include <atomic>
#include <map>
#include <vector>

#include "OrvoCriticalSection.h"
#include "OrvoExport.h"
#include "OrvoObjectBase.h"
#include "OrvoString.h"

namespace OrvoSupport {

/// Creates the objects of one name, with whatever it knows beside the name.
///
/// Thread safety: create() is called on the threads that construct objects, on several at once.
class OSUPT_API OrvoObjectFactoryRegistration {
public:
    OrvoObjectFactoryRegistration() noexcept = default;
    OrvoObjectFactoryRegistration(const OrvoObjectFactoryRegistration&) noexcept = default;
    OrvoObjectFactoryRegistration& operator=(const OrvoObjectFactoryRegistration&) noexcept = default;
    virtual ~OrvoObjectFactoryRegistration();

    /// A new object; null when there is none to be had. What it throws reaches the caller of construct().
    virtual OrvoSmartPointer<OrvoObjectBase> create() = 0;
};

/// A base for objects that stand as prototypes of their kind; it has no behaviour of its own.
///
/// Thread safety: it has no state.
class OSUPT_API OrvoExemplar {
public:
    OrvoExemplar() noexcept = default;
    OrvoExemplar(const OrvoExemplar&) noexcept = default;
    OrvoExemplar& operator=(const OrvoExemplar&) noexcept = default;
    virtual ~OrvoExemplar();
};

/// Makes reference-counted objects from names. A name stands for a plain function, for a registration object,
/// or for both, and then the registration counts. Names are bytes: case matters, and any byte may occur.
///
/// Thread safety: all operations may be called from any thread, but for getGlobalInstance() when it creates
/// the instance, and deleteGlobalInstance(); both are for times when only one thread uses it. No lock is held
/// while an object is created: creators may throw, take their time, and use the factory.
class OSUPT_API OrvoObjectFactory {
public:
    OrvoObjectFactory();
    /// A factory of its own that knows the same names.
    OrvoObjectFactory(const OrvoObjectFactory& other);
    /// Forgets its names and takes over the other's.
    OrvoObjectFactory& operator=(const OrvoObjectFactory& other);
    virtual ~OrvoObjectFactory();

    /// The factory of the process, created on the first call. It goes when the library is unloaded, before
    /// the library's other process-wide objects.
    static OrvoObjectFactory& getGlobalInstance();
    /// Destroys the factory of the process; the next getGlobalInstance() creates a new, empty one.
    static void deleteGlobalInstance();

    /// Enters a name for a function or for a registration; of several for one name the first of its kind
    /// counts, the others are ignored, and so is a null function. The registration stays the caller's and has
    /// to live until it is removed and the last create() has returned, or until the factory goes.
    void add(const string& name, OrvoObjectBase* (*creator)());
    void add(const string& name, OrvoObjectFactoryRegistration& registration);
    /// Forgets the name's registration or, if it has none, its function. An unknown name changes nothing.
    void remove(const string& name);

    /// A new object of that name, held by the result only; null for an unknown name or when the creator makes
    /// none. What the creator throws passes on.
    OrvoSmartPointer<OrvoObjectBase> construct(const string& name);
    /// The names with a function and behind them the names with a registration, each in the order of their
    /// bytes. A name with both occurs twice.
    std::vector<string> getRegisteredClasses() const;

private:
    struct Creators {
        OrvoObjectBase* (*function)() = nullptr;
        OrvoObjectFactoryRegistration* registration = nullptr;
    };
    using Names = std::map<string, Creators>;

    Names names() const;

    static std::atomic<OrvoObjectFactory*> m_pGlobalInstance;

    mutable OrvoCriticalSectionObject m_lock;
    Names m_names;  // both kinds, so that one search finds either
};

}  // namespace OrvoSupport

#endif
