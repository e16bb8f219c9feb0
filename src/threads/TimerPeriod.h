// A timer's period in one word, which is read and written in one step.
#ifndef OSUPT_THREADS_TIMER_PERIOD_H
#define OSUPT_THREADS_TIMER_PERIOD_H

#include <algorithm>
#include <cstdint>
#include <limits>

#include "threads/TimerSchedule.h"

namespace OrvoSupport {

/// Whole seconds among the milliseconds become seconds and the rest keeps its sign. Seconds that do not fit
/// into 32 bits become the nearest that do.
constexpr std::uint64_t packedPeriod(std::int64_t seconds, std::int64_t milliseconds) {
    constexpr std::int64_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
    const std::int64_t more = std::clamp(milliseconds / 1000, 2 * least, 2 * most);
    const std::int64_t whole = std::clamp(std::clamp(seconds, 4 * least, 4 * most) + more, least, most);
    return static_cast<std::uint64_t>(whole) << 32 | static_cast<std::uint32_t>(milliseconds % 1000);
}

constexpr TimePair unpackedPeriod(std::uint64_t packed) {
    return {static_cast<std::int32_t>(packed >> 32), static_cast<std::int32_t>(packed)};
}

/// When a timer of this period is due that counts from the given second.
constexpr TimePair dueAfter(std::uint64_t packedPeriod, std::int64_t second) {
    const TimePair period = unpackedPeriod(packedPeriod);
    return {second + period.seconds, period.milliseconds};
}

}  // namespace OrvoSupport

#endif
