// Events that set themselves after a time, once or again and again, and a thread that works whenever one
// does.
#ifndef ORVO_TIMER_H
#define ORVO_TIMER_H

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "OrvoEvent.h"
#include "OrvoExport.h"
#include "OrvoString.h"
#include "OrvoThread.h"

namespace OrvoSupport {

class TimerSchedule;  // inside the library

/// An event that is set when its time has come. That is called firing: dependents are told, then one waiter
/// is released, as by any set(), and by this very call of it.
///
/// When it is due: a timer is due in the calendar second in which it was started, plus the seconds of its
/// period. What fires the timers is a sleep as long as the seconds from the current one to that of the first
/// timer due plus the milliseconds of that one's period; it begins anew whenever any timer is started,
/// stopped or fired. When it is over, all timers whose second has come fire, those of an earlier second first
/// and of one second the one started last first. So a timer may fire up to 999 ms early together with
/// another, but one alone fires when its period is over. A timer whose second has passed, and one without
/// milliseconds whose second has come, fires on the thread that starts or stops any timer, before that call
/// returns; all others fire on a thread of the library, which exists only while timers are started and ends
/// within a second afterwards.
///
/// The sleep is measured by a clock that nobody sets. When the calendar is set forward, timers that are due
/// by it then fire when the sleep is over, or as soon as any timer is started or stopped; when it is set
/// back, they wait for their second to come.
///
/// A handler that is told of a firing may start, stop and destroy any timer, its own too. While it runs no
/// other timer fires. An OrvoException out of it is dropped and the event is not signalled; any other
/// exception ends the process. A forked child has no timer started; it may start them again. Once the library
/// is being unloaded, or the process ends, nothing fires any more and starting and stopping do nothing; the
/// library waits until the handler that it is calling returns.
///
/// Thread safety: any method may be called from any thread. No call may overlap the destructor.
class OSUPT_API OrvoTimer : public OrvoEvent {
public:
    /// Not started. The period is 0, and repeating.
    OrvoTimer();
    /// Not started; the period and the kind are those of the first reset().
    OrvoTimer(long milliseconds, bool oneShot);
    OrvoTimer(long seconds, long milliseconds, bool oneShot);
    /// Stops it. While another thread is firing this very timer, waits until its handlers have returned; a
    /// handler that waits for the destroying thread never does.
    ~OrvoTimer() override;

    /// Starts the timer from now again with its period and kind. The event stays as it is: a signal that
    /// nobody has taken is kept.
    void reset() override;

    /// Starts the timer from now, also when it is started already. Whole seconds among the milliseconds count
    /// as such, and periods past 2147483647 seconds as that. With both arguments below 1 the timer is
    /// stopped, keeping them as its period. One argument may be negative; a sum below 0 is a second that has
    /// passed. A repeating timer starts anew each time it fires, before its handlers are told. When there is
    /// no memory it stays stopped, and without a thread nothing fires until a timer is started or stopped.
    virtual void start(long seconds, long milliseconds, bool oneShot);
    /// Calls the other with 0 seconds.
    virtual void start(long milliseconds, bool oneShot);
    /// Stops the timer; one that is not started ignores it. Does not wait for a firing under way.
    virtual void stop();
    /// Asked at every firing, so that a subclass can decide when to stop repeating.
    virtual bool isOneShot() const;

private:
    friend class OrvoTimerManager;
    friend class TimerSchedule;

    std::atomic<std::uint64_t> m_setting;  // period and kind in one
    std::atomic<bool> m_scheduled{false};
    std::atomic<std::int64_t> m_restarted{0};  // see OrvoTimerManager::restart()
    // What follows belongs to the schedule.
    bool m_setAside = false;
    std::size_t m_place = 0;
    std::uint64_t m_visitedIn = 0;
};

/// A thread that waits for a timer and calls handleTimerEvent() each time that fires. It takes one signal of
/// the timer at a time: when the timer fires several times while the work goes on, the work is done once
/// more.
///
/// Before an object of a subclass goes, stop the timer and see that no work is left to do: the work is part
/// of the subclass, and a signal that came before the stop is still worked on. Destruction wakes the thread
/// by setting the timer, so the timer's dependents are told once more; then it waits until the thread has
/// ended. The timer is not owned and must outlive the thread.
///
/// Thread safety: as OrvoThread.
class OSUPT_API OrvoEventTimerThread : public OrvoThread {
public:
    /// Neither the thread nor the timer is started.
    OrvoEventTimerThread(const string& name, OrvoTimer& timer);
    ~OrvoEventTimerThread() override;

    void start() override;

protected:
    using OrvoThread::run;
    /// Waits and works until the object is destroyed; returns 0.
    int run() override;
    /// The work, on the thread itself.
    virtual void handleTimerEvent() = 0;

private:
    OrvoTimer& m_timer;
    std::atomic<bool> m_waiting{false};
    std::atomic<bool> m_keepRunning{false};
};

}  // namespace OrvoSupport

#endif
