// The schedule and the passes over it. OrvoTimerWaiter.cpp holds the thread that waits for them.
#include "threads/OrvoTimerManager.h"

#include "OrvoException.h"
#include "OrvoTimer.h"
#include "platform/Containment.h"
#include "platform/ThreadSlot.h"
#include "threads/TimerSetting.h"

namespace OrvoSupport {
namespace {

using platform::WaitableTimer;

/// Calls code of the host. What it throws of the library's own kind is dropped.
template <class Action>
void callHost(const Action& action) {
    platform::endProcessOnException([&] {
        try {
            action();
        } catch (const OrvoException&) {
        }
    });
}

/// What a pass goes by. It must not lag behind the clock that ended the waiter's sleep.
std::int64_t preciseSecond() { return WaitableTimer::calendarMilliseconds() / 1000; }

}  // namespace

/// From the claim to fire until the end of it, also when a handler cancels its thread.
class OrvoTimerManager::Pass {
public:
    Pass(OrvoTimerManager& manager, ListLock& lock) : m_manager(manager), m_lock(lock) {
        m_manager.m_firing = true;
        m_manager.m_fireLockTaken = false;
        m_manager.m_firingThread = platform::thisThread();
        ++m_manager.m_passes;
        ++m_manager.m_atFireLock;
        m_lock.unlock();
        m_manager.m_fireLock.lock();
        m_lock.lock();
        m_manager.m_fireLockTaken = true;
    }
    ~Pass() {
        const bool unwound = !m_lock.owns_lock();
        if (unwound) m_lock.lock();
        m_manager.m_fired = nullptr;
        m_manager.m_firing = false;
        m_manager.m_fireLock.unlock();
        --m_manager.m_atFireLock;
        if (!unwound) return;
        m_manager.m_schedule.endPass();
        if (!m_manager.m_schedule.isEmpty()) m_manager.arm(WaitableTimer::now());
    }
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;

private:
    OrvoTimerManager& m_manager;
    ListLock& m_lock;
};

void OrvoTimerManager::start(OrvoTimer& timer, std::uint64_t setting, bool stopped) {
    ListLock lock(m_listLock);
    if (m_exiting) return;
    m_schedule.remove(timer);
    std::int64_t second = WaitableTimer::calendarSeconds();
    if (!m_firing && firstIsOverdue(second)) {
        fire(lock);
        if (m_exiting) return;
        m_schedule.remove(timer);  // another thread may have started it meanwhile
        second = WaitableTimer::calendarSeconds();
    }
    timer.m_setting.store(setting, std::memory_order_relaxed);
    if (!stopped) m_schedule.insert(timer, dueAfter(setting, second));
    armOrFire(lock, second);
    lock.unlock();
    awaitBeginning();
}

void OrvoTimerManager::remove(OrvoTimer& timer) {
    ListLock lock(m_listLock);
    removeAndArm(lock, timer);
    lock.unlock();
    awaitBeginning();
}

bool OrvoTimerManager::firstIsOverdue(std::int64_t second) const {
    if (m_schedule.isEmpty()) return false;
    const TimePair& due = m_schedule.firstDue();
    return due.seconds < second || (due.seconds == second && due.milliseconds == 0);
}

void OrvoTimerManager::removeAndArm(ListLock& lock, OrvoTimer& timer) {
    if (m_exiting) return;
    m_schedule.remove(timer);
    armOrFire(lock, m_schedule.isEmpty() ? 0 : WaitableTimer::calendarSeconds());
}

/// During a pass nothing is armed: the pass does so at its end.
void OrvoTimerManager::armOrFire(ListLock& lock, std::int64_t second, Overdue overdue) {
    if (m_schedule.isEmpty()) {
        m_deadline = never;
    } else if (m_firing) {
        // Should the thread that fires be killed, a waiter notices.
        if (!m_waiterStands && m_firingThread != platform::thisThread()) arm(never);
    } else if (!firstIsOverdue(second)) {
        arm(deadlineOfFirst(second));
    } else if (overdue == Overdue::firesOnTheWaiter) {
        arm(WaitableTimer::now());
    } else {
        fire(lock);
    }
}

std::int64_t OrvoTimerManager::deadlineOfFirst(std::int64_t second) const {
    const TimePair& due = m_schedule.firstDue();
    return WaitableTimer::deadlineIn((due.seconds - second) * 1000 + due.milliseconds);
}

/// A waiter that sleeps no longer than to the deadline finds it when it wakes.
void OrvoTimerManager::arm(std::int64_t deadline) {
    ++m_arms;
    m_deadline = deadline;
    if (!m_waiterStands) {
        standWaiter();
    } else if (deadline < m_wakesAt) {
        m_wakesAt = deadline;
        m_sleep.signal();
    }
}

void OrvoTimerManager::fire(ListLock& lock) {
    const Pass pass(*this, lock);
    for (;;) {
        m_schedule.beginPass();
        while (OrvoTimer* timer = m_schedule.firstUnvisited({preciseSecond(), 0})) fireOne(lock, *timer);
        m_schedule.endPass();
        if (m_schedule.isEmpty()) return;
        const std::int64_t second = preciseSecond();
        if (firstIsOverdue(second)) continue;
        arm(deadlineOfFirst(second));
        return;
    }
}

/// While the host's code runs, other threads may stop, start and destroy the timer.
void OrvoTimerManager::fireOne(ListLock& lock, OrvoTimer& timer) {
    if (!staysDue(timer)) return;
    m_fired = &timer;
    bool oneShot = true;
    lock.unlock();
    callHost([&] { oneShot = timer.isOneShot(); });
    lock.lock();
    const TimePair now{preciseSecond(), 0};
    if (m_fired != &timer || m_schedule.firstUnvisited(now) != &timer) {
        m_fired = nullptr;
        return;
    }
    noteFiring(timer);
    m_schedule.visit(timer);
    if (oneShot)
        m_schedule.remove(timer);
    else
        m_schedule.insert(timer, dueAfter(timer.m_setting, now.seconds));
    if (m_schedule.isEmpty()) m_deadline = never;
    lock.unlock();
    callHost([&] { timer.set(); });
    lock.lock();
    m_fired = nullptr;
}

void OrvoTimerManager::forget(OrvoTimer& timer) {
    OrvoTimerManager& manager = instance();
    ListLock lock(manager.m_listLock);
    if (timer.m_scheduled) manager.removeAndArm(lock, timer);
    while (manager.m_fired == &timer) {
        if (manager.m_firingThread == platform::thisThread())
            manager.m_fired = nullptr;  // destroyed by its own handler: the pass goes on without it
        else
            manager.endLostPass(lock);
    }
}

/// Ends the pass if the thread that made it has ended, which leaves the fire lock behind. Otherwise waits a
/// while, at most until the end of the pass.
void OrvoTimerManager::endLostPass(ListLock& lock) {
    const std::uint64_t pass = m_passes;
    const bool taken = m_fireLockTaken;
    ++m_atFireLock;
    lock.unlock();
    const bool isFree = m_fireLock.testAndSet();
    if (isFree) m_fireLock.unlock();
    lock.lock();
    --m_atFireLock;
    if (!isFree || !taken || !m_firing || m_passes != pass) return;
    --m_atFireLock;  // of the lost thread
    m_firing = false;
    m_fired = nullptr;
    m_schedule.endPass();
    if (!m_schedule.isEmpty()) arm(WaitableTimer::now());
}

}  // namespace OrvoSupport
