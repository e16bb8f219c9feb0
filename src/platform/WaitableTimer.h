// A sleep until a moment that another thread may cut short, and the clocks by which the timers go.
#ifndef OSUPT_PLATFORM_WAITABLE_TIMER_H
#define OSUPT_PLATFORM_WAITABLE_TIMER_H

#include <cstdint>

namespace OrvoSupport::platform {

/// One thread sleeps on it, any other may wake that. All that the timers know of time comes from here, so
/// that a test can put a time of its own in its place.
///
/// Thread safety: wait() belongs to one thread, signal() to any; open() and close() overlap neither.
/// Constant-initialised and trivially destroyed.
class WaitableTimer {
public:
    constexpr WaitableTimer() = default;

    /// False when the system has none left. Everything else but the clocks needs it to be open.
    bool open() noexcept;
    void close() noexcept;

    /// Sleeps until the deadline or a signal, whichever is first, and takes the signal. It may return early
    /// without either.
    void wait(std::int64_t deadline) noexcept;
    /// Ends the wait under way, or else the next one at once.
    void signal() noexcept;

    /// Seconds of the calendar; where that is cheaper, those of some milliseconds ago.
    static std::int64_t calendarSeconds() noexcept;
    /// The calendar's time now.
    static std::int64_t calendarMilliseconds() noexcept;

    /// Now, by the clock of deadlines: nanoseconds that never go back and that nobody sets.
    static std::int64_t now() noexcept;
    /// The deadline so far from now. Ten seconds and more may come out up to 20 milliseconds too late, where
    /// that is cheaper.
    static std::int64_t deadlineIn(std::int64_t milliseconds) noexcept;

private:
    [[maybe_unused]] void* m_state[2] = {};  // what the system needs; a test's time needs nothing
};

}  // namespace OrvoSupport::platform

#endif
