// Linux half of WaitableTimer; contract in platform/WaitableTimer.h. A futex with an absolute deadline.
#include "platform/WaitableTimer.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace OrvoSupport::platform {
namespace {

constexpr std::int64_t perSecond = 1'000'000'000;
constexpr std::int64_t perMillisecond = 1'000'000;
constexpr std::int64_t longWait = 10'000;                 // milliseconds
constexpr std::int64_t coarseTick = 10 * perMillisecond;  // no kernel ticks less often

std::int64_t read(clockid_t clock) {
    timespec time{};
    ::clock_gettime(clock, &time);  // fails for nothing but a clock that does not exist
    return std::int64_t{time.tv_sec} * perSecond + time.tv_nsec;
}

/// 1 while there is a signal that nobody has taken.
std::uint32_t* signalWord(void** state) { return reinterpret_cast<std::uint32_t*>(state); }

}  // namespace

bool WaitableTimer::open() noexcept {
    __atomic_store_n(signalWord(m_state), 0, __ATOMIC_RELAXED);
    return true;
}

void WaitableTimer::close() noexcept {}

void WaitableTimer::wait(std::int64_t deadline) noexcept {
    const timespec until = {static_cast<time_t>(deadline / perSecond),
                            static_cast<long>(deadline % perSecond)};
    std::uint32_t* const signalled = signalWord(m_state);
    if (__atomic_load_n(signalled, __ATOMIC_ACQUIRE) == 0)
        ::syscall(SYS_futex, signalled, FUTEX_WAIT_BITSET_PRIVATE, 0, &until, nullptr,
                  FUTEX_BITSET_MATCH_ANY);
    __atomic_store_n(signalled, 0, __ATOMIC_RELEASE);
}

void WaitableTimer::signal() noexcept {
    std::uint32_t* const signalled = signalWord(m_state);
    __atomic_store_n(signalled, 1, __ATOMIC_RELEASE);
    ::syscall(SYS_futex, signalled, FUTEX_WAKE_PRIVATE, 1);
}

std::int64_t WaitableTimer::calendarSeconds() noexcept { return ::time(nullptr); }

std::int64_t WaitableTimer::calendarMilliseconds() noexcept { return read(CLOCK_REALTIME) / perMillisecond; }

std::int64_t WaitableTimer::now() noexcept { return read(CLOCK_MONOTONIC); }

std::int64_t WaitableTimer::deadlineIn(std::int64_t milliseconds) noexcept {
    const std::int64_t start =
        milliseconds < longWait ? read(CLOCK_MONOTONIC) : read(CLOCK_MONOTONIC_COARSE) + coarseTick;
    return start + milliseconds * perMillisecond;
}

}  // namespace OrvoSupport::platform
