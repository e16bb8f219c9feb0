// The library's one lock, recursive, and the scoped guard over it.
#ifndef ORVO_CRITICAL_SECTION_H
#define ORVO_CRITICAL_SECTION_H

#include <atomic>

#include "OrvoExport.h"
#include "OrvoObjectBase.h"

/// The counted record behind a lock. It counts without synchronisation, since it is counted while the
/// process-wide lock for reference counts may itself be in the making.
///
/// Thread safety: none; copies of a lock object are made while no other thread uses it.
class OSUPT_API LockBase : public OrvoSupport::OrvoObjectBase {
public:
    LockBase() noexcept = default;
    LockBase(const LockBase& other) noexcept;
    LockBase& operator=(const LockBase& other) noexcept;
    ~LockBase() override;

    unsigned long addRef() override;
    unsigned long release() override;
};

class LockImplementation;  // inside the library

namespace OrvoSupport {

/// A recursive lock of one of two kinds: a mutex, whose attempts wait up to 100 milliseconds and which
/// notices that its holder has ended, or a critical section, whose attempts never wait. The lock of the
/// system is created at the first use; if the system cannot create it, every operation does nothing and
/// reports failure. Copies made after the first use share that lock, copies made before do not.
///
/// Thread safety: the operations may be called from any thread. Copying, assigning and destroying may not
/// overlap any other call for the object.
class OSUPT_API OrvoCriticalSectionObject {
public:
    /// A mutex.
    constexpr OrvoCriticalSectionObject() noexcept : OrvoCriticalSectionObject(false) {}
    /// True selects a critical section, false a mutex.
    constexpr explicit OrvoCriticalSectionObject(bool useCriticalSection) noexcept
        : m_impl(nullptr), m_useCriticalSection(useCriticalSection) {}
    /// Shares the lock of the other object if that has been used already.
    OrvoCriticalSectionObject(const OrvoCriticalSectionObject& other);
    /// Gives up the own lock and shares the other's, as the copy constructor does.
    OrvoCriticalSectionObject& operator=(const OrvoCriticalSectionObject& other);
    /// The last object that shares a lock destroys it.
    ~OrvoCriticalSectionObject();

    /// Waits until the calling thread holds the lock, once more if it does already. A mutex whose holder has
    /// ended is taken with depth 1.
    void lock();
    /// Gives up one hold. A thread that does not hold the lock changes nothing.
    void unlock();
    /// Tries to take the lock: a mutex for up to 100 milliseconds, a critical section without waiting. A
    /// mutex whose holder has ended counts as not taken; it is free afterwards.
    bool testAndSet();
    /// How many holds the holding thread has, 0 when the lock is free; any thread may ask.
    int lockCount();
    /// Gives up every hold of the calling thread. For a mutex held by another thread it returns after 100
    /// milliseconds, for a critical section at once, and nothing has changed.
    void unwind();

private:
    ::LockImplementation* init();
    ::LockImplementation* create();

    std::atomic<::LockImplementation*> m_impl;
    bool m_useCriticalSection;
};

/// Holds a lock until the end of the scope.
///
/// Thread safety: none; a guard belongs to the thread that made it.
class OSUPT_API OrvoCriticalSection {
public:
    /// Takes the lock at once unless lockNow is false.
    explicit OrvoCriticalSection(OrvoCriticalSectionObject& lock, bool lockNow = true);
    OrvoCriticalSection(const OrvoCriticalSection&) = delete;
    OrvoCriticalSection& operator=(const OrvoCriticalSection&) = delete;
    /// As unlock().
    ~OrvoCriticalSection();

    /// Takes the lock. A guard that holds it already takes it once more, yet gives up one hold only.
    void lock();
    /// Gives up the hold, if the guard has one.
    void unlock();
    /// Tries to take the lock as OrvoCriticalSectionObject::testAndSet() does. The guard holds the lock
    /// afterwards exactly when the answer is true.
    bool testAndSet();

private:
    OrvoCriticalSectionObject& m_lock;
    bool m_held = false;
};

}  // namespace OrvoSupport

#endif
