// Reference counting: the root of every shared object, and the pointer that holds one.
#ifndef ORVO_OBJECT_BASE_H
#define ORVO_OBJECT_BASE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "OrvoExport.h"
#include "OrvoString.h"

namespace OrvoSupport {

/// An object that counts its holders and knows the name of its class. The count belongs to the holders, not
/// to the value: a copy starts at 0, and assigning another object's value resets the target's count to 0.
///
/// Thread safety: counting and the queries may be used from any thread; copying needs the caller's lock.
class OSUPT_API OrvoObjectBase {
public:
    OrvoObjectBase() noexcept : m_refCount(0) {}
    OrvoObjectBase(const OrvoObjectBase& other) noexcept;
    /// Resets the count to 0; assignment to itself changes nothing.
    OrvoObjectBase& operator=(const OrvoObjectBase& other) noexcept;
    virtual ~OrvoObjectBase();

    /// Adds a holder and returns the new count.
    virtual unsigned long addRef();
    /// Gives up a hold and returns the new count. The last one deletes the object; no lock of the library
    /// is held while its destructor runs.
    virtual unsigned long release();
    virtual unsigned long refCount() const;

    /// True only for exactly the text that getClassName() returns: it knows no base classes, and case and
    /// name space matter.
    virtual bool isA(const string& className) const;
    /// The qualified name of the most derived class, as in "OrvoSupport::OrvoThread".
    virtual string getClassName();

protected:
    /// What follows the first blank ("class X" gives "X"); a name without a blank stays as it is.
    static string normalizeClassName(const string& name);

    /// The number of holders; for classes that count in their own way.
    std::atomic<std::uint32_t> m_refCount;

private:
    std::uint32_t addToCount(std::uint32_t change);
};

/// A pointer that is one of its object's holders. T derives from OrvoObjectBase, or at least offers addRef()
/// and release(); it may be incomplete where nothing but the pointer's type is needed. A null pointer counts
/// nothing. Assignment takes the new reference before it gives up the old one.
///
/// Thread safety: as a raw pointer; distinct pointers to one object may be used from distinct threads.
template <class T>
class OrvoSmartPointer {
public:
    OrvoSmartPointer() noexcept = default;
    OrvoSmartPointer(std::nullptr_t) noexcept {}
    OrvoSmartPointer(T* pointee) : m_pointee(pointee) {
        if (m_pointee) m_pointee->addRef();
    }
    OrvoSmartPointer(const OrvoSmartPointer& other) : OrvoSmartPointer(other.m_pointee) {}
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    OrvoSmartPointer(const OrvoSmartPointer<U>& other) : OrvoSmartPointer(static_cast<T*>(other.get())) {}
    /// Leaves the other pointer null.
    OrvoSmartPointer(OrvoSmartPointer&& other) noexcept
        : m_pointee(std::exchange(other.m_pointee, nullptr)) {}
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    OrvoSmartPointer(OrvoSmartPointer<U>&& other) noexcept
        : m_pointee(std::exchange(other.m_pointee, nullptr)) {}
    ~OrvoSmartPointer() {
        if (m_pointee) m_pointee->release();
    }

    /// From anything a smart pointer can be made of; the old reference goes last.
    OrvoSmartPointer& operator=(OrvoSmartPointer other) noexcept {
        std::swap(m_pointee, other.m_pointee);
        return *this;
    }

    T* get() const noexcept { return m_pointee; }
    T* operator->() const noexcept { return m_pointee; }
    T& operator*() const noexcept { return *m_pointee; }
    explicit operator bool() const noexcept { return m_pointee != nullptr; }
    bool operator!() const noexcept { return m_pointee == nullptr; }

private:
    template <class U>
    friend class OrvoSmartPointer;

    T* m_pointee = nullptr;
};

template <class T, class U>
bool operator==(const OrvoSmartPointer<T>& a, const OrvoSmartPointer<U>& b) noexcept {
    return a.get() == b.get();
}
template <class T, class U>
bool operator==(const OrvoSmartPointer<T>& a, U* b) noexcept {
    return a.get() == b;
}
template <class T, class U>
bool operator==(U* a, const OrvoSmartPointer<T>& b) noexcept {
    return a == b.get();
}
template <class T>
bool operator==(const OrvoSmartPointer<T>& a, std::nullptr_t) noexcept {
    return !a;
}
template <class T>
bool operator==(std::nullptr_t, const OrvoSmartPointer<T>& b) noexcept {
    return !b;
}

template <class T, class U>
bool operator!=(const OrvoSmartPointer<T>& a, const U& b) noexcept {
    return !(a == b);
}
template <class T, class U>
bool operator!=(U* a, const OrvoSmartPointer<T>& b) noexcept {
    return !(a == b);
}
template <class T>
bool operator!=(std::nullptr_t, const OrvoSmartPointer<T>& b) noexcept {
    return !(nullptr == b);
}

}  // namespace OrvoSupport

#endif
