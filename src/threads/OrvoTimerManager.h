// What fires the timers: one schedule, and one thread at most that sleeps until the first of them is due.
#ifndef OSUPT_THREADS_ORVO_TIMER_MANAGER_H
#define OSUPT_THREADS_ORVO_TIMER_MANAGER_H

#include <atomic>
#include <cstdint>
#include <limits>
#include <mutex>

#include "OrvoCriticalSection.h"
#include "platform/InternalLock.h"
#include "platform/Thread.h"
#include "platform/WaitableTimer.h"
#include "threads/TimerSchedule.h"

namespace OrvoSupport {

/// There is one, which never really goes: threads may still start and destroy timers while the library is
/// torn down, and find that nothing happens any more.
///
/// Arming writes the deadline of the first timer due and sees to it that a waiter stands, the thread that
/// sleeps and fires. The waiter sleeps in slices, so that it need be woken only for a deadline within its
/// present slice, and finds out by itself when it is not needed any more.
///
/// Two locks: the fire lock is held during a pass over the schedule and comes first; the list lock guards
/// everything else and is given up while any code of a host runs.
///
/// Thread safety: any thread may call anything; deleteInstance() is called once, and getInstance() throws
/// afterwards.
class OrvoTimerManager {
public:
    /// Throws an OrvoException once the instance is deleted.
    static OrvoTimerManager& getInstance();
    /// Nothing fires afterwards, and the waiter has ended; waits for the handler that it is calling.
    static void deleteInstance() noexcept;

    constexpr OrvoTimerManager() = default;
    OrvoTimerManager(const OrvoTimerManager&) = delete;
    OrvoTimerManager& operator=(const OrvoTimerManager&) = delete;

    /// Takes the timer out of the schedule, notes its new setting, and unless `stopped` puts it in again.
    /// What is overdue before or after that fires on the calling thread.
    void start(OrvoTimer& timer, std::uint64_t setting, bool stopped);
    /// Takes it out; what is overdue among the others fires on the calling thread.
    void remove(OrvoTimer& timer);
    /// restart() and rest() are reset() and stop() for one that is started and stopped all the time, by a
    /// caller that holds a lock meanwhile: what is overdue fires on the waiter's thread. As long as a waiter
    /// stands they only note what the timer does now. It keeps the place in the schedule that it has: there
    /// the pass finds that it is to move on, and the waiter, at its second look, that it rests. For one
    /// thread at a time; not to be mixed with start() and stop().
    static void restart(OrvoTimer& timer);
    static void rest(OrvoTimer& timer);
    /// The same as remove() for a timer that is destroyed, at any time: while another thread fires it, waits.
    static void forget(OrvoTimer& timer);

private:
    friend struct ForkHandlers;
    using ListLock = std::unique_lock<platform::InternalLock>;
    class Pass;
    class WaitersLife;

    static constexpr std::int64_t never = std::numeric_limits<std::int64_t>::max();
    static constexpr std::int64_t awake = std::numeric_limits<std::int64_t>::min();

    static OrvoTimerManager& instance() noexcept;

    // With the list lock held; those that take it as an argument give it up for a while.
    bool firstIsOverdue(std::int64_t second) const;
    void removeAndArm(ListLock& lock, OrvoTimer& timer);
    enum class Overdue { firesHere, firesOnTheWaiter };
    void armOrFire(ListLock& lock, std::int64_t second, Overdue overdue = Overdue::firesHere);
    void arm(std::int64_t deadline);
    std::int64_t deadlineOfFirst(std::int64_t second) const;

    void fire(ListLock& lock);
    void fireOne(ListLock& lock, OrvoTimer& timer);
    void endLostPass(ListLock& lock);
    bool staysDue(OrvoTimer& timer);
    void noteFiring(OrvoTimer& timer);
    void dropResting();

    void standWaiter() noexcept;
    void waitAndFire(ListLock& lock);
    void fireInTime(ListLock& lock);
    void sleep(ListLock& lock);

    // Without the lock.
    static int waiterMain(void* manager);
    void awaitBeginning() noexcept;
    void awaitEnd() noexcept;
    void tearDown() noexcept;

    static void beforeFork();
    static void inParentOfFork();
    static void inChildOfFork();

    platform::InternalLock m_listLock;
    TimerSchedule m_schedule;
    std::atomic<bool> m_exiting{false};

    // The pass. The fire lock tells whether the thread that raised `firing` is still there.
    OrvoCriticalSectionObject m_fireLock;
    bool m_firing = false;
    bool m_fireLockTaken = false;
    std::uint64_t m_passes = 0;
    const void* m_firingThread = nullptr;
    OrvoTimer* m_fired = nullptr;  // whose handlers run; null again when one of them has destroyed it
    int m_atFireLock = 0;          // how many threads use the fire lock

    // The waiter.
    platform::WaitableTimer m_sleep;
    std::atomic<platform::Thread*> m_waiter{nullptr};
    std::atomic<bool> m_waiterBegins{false};  // started, but has not come to its work yet
    std::atomic<bool> m_waiterStands{false};
    std::atomic<const void*> m_waiterThread{nullptr};
    std::int64_t m_deadline = never;
    std::int64_t m_wakesAt = awake;  // the end of its present sleep
    std::uint64_t m_arms = 0;
};

}  // namespace OrvoSupport

#endif
