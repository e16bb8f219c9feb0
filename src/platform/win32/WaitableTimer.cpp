// Win32 half of WaitableTimer; contract in platform/WaitableTimer.h.
#include "platform/WaitableTimer.h"

#include <windows.h>

#include <algorithm>

#ifndef CREATE_WAITABLE_TIMER_HIGH_RESOLUTION
#define CREATE_WAITABLE_TIMER_HIGH_RESOLUTION 0x00000002
#endif

namespace OrvoSupport::platform {
namespace {

constexpr std::int64_t perMillisecond = 1'000'000;
constexpr std::int64_t perTick = 100;  // nanoseconds of a FILETIME's unit
constexpr std::int64_t ticksPerMillisecond = perMillisecond / perTick;
constexpr std::int64_t ticksUntil1970 = 116'444'736'000'000'000;

/// The ordinary timers go by the system's tick of up to 16 milliseconds; the exact ones are younger than the
/// oldest system that the library runs on, which refuses the flag.
HANDLE createTimer() {
    const HANDLE timer =
        ::CreateWaitableTimerExW(nullptr, nullptr, CREATE_WAITABLE_TIMER_HIGH_RESOLUTION, TIMER_ALL_ACCESS);
    const BOOL manualReset = FALSE;
    return timer ? timer : ::CreateWaitableTimerA(nullptr, manualReset, nullptr);
}

std::int64_t calendarTicks() {
    FILETIME time;
    ::GetSystemTimeAsFileTime(&time);
    ULARGE_INTEGER ticks;
    ticks.LowPart = time.dwLowDateTime;
    ticks.HighPart = time.dwHighDateTime;
    return static_cast<std::int64_t>(ticks.QuadPart) - ticksUntil1970;
}

}  // namespace

bool WaitableTimer::open() noexcept {
    HANDLE& timer = m_state[0];
    HANDLE& event = m_state[1];
    const BOOL manualReset = FALSE;
    const BOOL signalled = FALSE;
    timer = createTimer();
    event = ::CreateEventA(nullptr, manualReset, signalled, nullptr);
    if (timer && event) return true;
    close();
    return false;
}

void WaitableTimer::close() noexcept {
    for (HANDLE& handle : m_state) {
        if (handle) ::CloseHandle(handle);
        handle = nullptr;
    }
}

void WaitableTimer::wait(std::int64_t deadline) noexcept {
    const std::int64_t left = std::max<std::int64_t>(deadline - now(), 0);
    LARGE_INTEGER due;
    due.QuadPart = -((left + perTick - 1) / perTick);  // negative: from now
    const HANDLE timer = m_state[0];
    const HANDLE event = m_state[1];
    const HANDLE handles[] = {event, timer};
    const BOOL resume = FALSE;
    const BOOL all = FALSE;
    const DWORD limit = static_cast<DWORD>(std::min<std::int64_t>(left / perMillisecond + 1, INFINITE - 1));
    if (::SetWaitableTimer(timer, &due, 0, nullptr, nullptr, resume))
        ::WaitForMultipleObjects(2, handles, all, INFINITE);
    else
        ::WaitForSingleObject(event, limit);
}

void WaitableTimer::signal() noexcept { ::SetEvent(m_state[1]); }

std::int64_t WaitableTimer::calendarSeconds() noexcept {
    return calendarTicks() / (1000 * ticksPerMillisecond);
}

std::int64_t WaitableTimer::calendarMilliseconds() noexcept { return calendarTicks() / ticksPerMillisecond; }

std::int64_t WaitableTimer::now() noexcept {
    LARGE_INTEGER frequency;
    LARGE_INTEGER count;
    ::QueryPerformanceFrequency(&frequency);  // neither fails on a system the library runs on
    ::QueryPerformanceCounter(&count);
    const std::int64_t whole = count.QuadPart / frequency.QuadPart;
    const std::int64_t rest = count.QuadPart % frequency.QuadPart;
    return whole * 1000 * perMillisecond + rest * 1000 * perMillisecond / frequency.QuadPart;
}

std::int64_t WaitableTimer::deadlineIn(std::int64_t milliseconds) noexcept {
    return now() + milliseconds * perMillisecond;
}

}  // namespace OrvoSupport::platform
