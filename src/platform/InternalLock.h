// The lock of the library's own short sections.
#ifndef OSUPT_PLATFORM_INTERNAL_LOCK_H
#define OSUPT_PLATFORM_INTERNAL_LOCK_H

namespace OrvoSupport::platform {

/// A lock for a few steps on the library's own data; not recursive, never held while code of a host runs. A
/// thread object of the library is neither stopped nor killed while its thread holds one: the lock is always
/// given back. When the process ends and the other threads are gone, it is taken even from one of them.
///
/// Thread safety: any operation from any thread. Constant-initialised, so that it may be used before the
/// library's static objects are constructed, and trivially destroyed, so that it may be used after.
class InternalLock {
public:
    constexpr InternalLock() = default;
    InternalLock(const InternalLock&) = delete;
    InternalLock& operator=(const InternalLock&) = delete;

    void lock() noexcept;
    void unlock() noexcept;

private:
    void* m_state = nullptr;
};

}  // namespace OrvoSupport::platform

#endif
