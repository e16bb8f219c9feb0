// Timers that are started and stopped all the time. Most of that happens without a lock and without moving
// the timer in the schedule: a state in the timer says what holds, and its place there is never too late.
#include "OrvoTimer.h"
#include "threads/OrvoTimerManager.h"
#include "threads/TimerSetting.h"

namespace OrvoSupport {
namespace {

using platform::WaitableTimer;

// The states of a timer. Any other is the deadline before which it does not fire, which is a greater number.
constexpr std::int64_t notNoted = 0;  // it is not in the schedule, or by start() only
constexpr std::int64_t resting = 1;
constexpr std::int64_t seenResting = 2;  // by the waiter

constexpr std::int64_t perMillisecond = 1'000'000;

bool rests(std::int64_t state) { return state == resting || state == seenResting; }
bool runs(std::int64_t state) { return state > seenResting; }

std::int64_t deadlineAfter(std::uint64_t setting) {
    const TimePair period = unpacked(setting).period;
    return WaitableTimer::deadlineIn(period.seconds * 1000 + period.milliseconds);
}

}  // namespace

void OrvoTimerManager::restart(OrvoTimer& timer) {
    OrvoTimerManager& manager = instance();
    const std::int64_t deadline = deadlineAfter(timer.m_setting);
    // Without a waiter each start tries again to get one.
    if (manager.m_waiterStands) {
        std::int64_t state = timer.m_restarted;
        while (rests(state) && timer.m_scheduled)
            if (timer.m_restarted.compare_exchange_weak(state, deadline)) return;
    }
    ListLock lock(manager.m_listLock);
    if (manager.m_exiting) return;
    const std::int64_t second = WaitableTimer::calendarSeconds();
    manager.m_schedule.insert(timer, dueAfter(timer.m_setting, second));
    if (timer.m_scheduled) timer.m_restarted = deadline;
    manager.armOrFire(lock, second, Overdue::firesOnTheWaiter);
    lock.unlock();
    manager.awaitBeginning();
}

void OrvoTimerManager::rest(OrvoTimer& timer) {
    OrvoTimerManager& manager = instance();
    if (!runs(timer.m_restarted)) return;
    if (manager.m_waiterStands) {
        // Should the timer leave the schedule at this moment, restart() sees that.
        timer.m_restarted.store(resting, std::memory_order_release);
        return;
    }
    const ListLock lock(manager.m_listLock);
    if (manager.m_exiting) return;
    manager.m_schedule.remove(timer);
    if (manager.m_schedule.isEmpty()) manager.m_deadline = never;
}

/// For a timer whose place in the schedule says that it is due: takes it out if it rests, and moves it on if
/// its deadline is yet to come. False then.
bool OrvoTimerManager::staysDue(OrvoTimer& timer) {
    std::int64_t state = timer.m_restarted;
    while (rests(state)) {
        if (!timer.m_restarted.compare_exchange_weak(state, notNoted)) continue;
        m_schedule.remove(timer);
        if (m_schedule.isEmpty()) m_deadline = never;
        return false;
    }
    const std::int64_t left = runs(state) ? state - WaitableTimer::now() : 0;
    if (left <= 0) return true;
    const std::int64_t milliseconds = (left + perMillisecond - 1) / perMillisecond;
    m_schedule.visit(timer);  // in this second it would look due again
    m_schedule.insert(timer,
                      dueAfter(packed(0, milliseconds, false), WaitableTimer::calendarMilliseconds() / 1000));
    return false;
}

/// It repeats after its whole period, unless it has come to rest meanwhile.
void OrvoTimerManager::noteFiring(OrvoTimer& timer) {
    std::int64_t state = timer.m_restarted;
    if (runs(state)) timer.m_restarted.compare_exchange_strong(state, deadlineAfter(timer.m_setting));
}

/// Takes out those that nobody has restarted since the waiter looked last. Only the first of the schedule is
/// of interest: behind any other timer a resting one keeps nobody awake.
void OrvoTimerManager::dropResting() {
    while (!m_firing && !m_schedule.isEmpty()) {
        OrvoTimer& timer = m_schedule.first();
        std::int64_t state = timer.m_restarted;
        if (state == resting) timer.m_restarted.compare_exchange_strong(state, seenResting);
        if (state != seenResting || !timer.m_restarted.compare_exchange_strong(state, notNoted)) return;
        m_schedule.remove(timer);
    }
    if (m_schedule.isEmpty()) m_deadline = never;
}

}  // namespace OrvoSupport
