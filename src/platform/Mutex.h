// The recursive lock's two flavours.
#ifndef OSUPT_PLATFORM_MUTEX_H
#define OSUPT_PLATFORM_MUTEX_H

namespace OrvoSupport::platform {

/// A recursive lock.
///
/// The kernel flavour notices that its holder's thread has ended, in whatever way: such a lock is abandoned.
/// The first lock() of another thread takes it with depth 1; a tryLock() or unwind() that meets it leaves it
/// free with depth 0. A thread whose identifier once belonged to the ended holder is another thread. The
/// critical-section flavour notices nothing of the kind.
///
/// Thread safety: any operation from any thread; the destructor may run as soon as the destroying thread has
/// held the lock last, even while the unlock() before that is still returning on another thread.
class Mutex {
public:
    enum class Flavour { kernel, criticalSection };

    explicit Mutex(Flavour flavour) noexcept;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;
    ~Mutex();

    /// False when the system could not create the lock; then there is nothing to be done with it.
    bool usable() const;

    void lock();
    /// Gives up one hold; a thread that holds none changes nothing.
    void unlock();
    /// The kernel flavour tries for up to 100 milliseconds, the other does not wait. An abandoned lock counts
    /// as not taken.
    bool tryLock();
    /// The holder's holds, 0 when there is no holder.
    int depth() const;
    /// Gives up all holds of this thread. With another holder the kernel flavour waits as tryLock() does, and
    /// nothing changes.
    void unwind();

private:
    struct State;
    State& state() { return reinterpret_cast<State&>(m_storage); }
    const State& state() const { return reinterpret_cast<const State&>(m_storage); }

    // The state lies in the object itself: one memory access less for every operation.
    alignas(void*) unsigned char m_storage[64];
};

}  // namespace OrvoSupport::platform

#endif
