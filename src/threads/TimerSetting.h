// What a timer was last started with, in one word: threads that start, reset and fire it see both of a kind.
#ifndef OSUPT_THREADS_TIMER_SETTING_H
#define OSUPT_THREADS_TIMER_SETTING_H

#include <algorithm>
#include <cstdint>
#include <limits>

#include "threads/TimerSchedule.h"

namespace OrvoSupport {

struct TimerSetting {
    TimePair period;
    bool oneShot;
};

/// Whole seconds among the milliseconds become seconds and the rest keeps its sign. Seconds that do not fit
/// into 32 bits become the nearest that do.
constexpr std::uint64_t packed(std::int64_t seconds, std::int64_t milliseconds, bool oneShot) {
    constexpr std::int64_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
    const std::int64_t more = std::clamp(milliseconds / 1000, 2 * least, 2 * most);
    const std::int64_t whole = std::clamp(std::clamp(seconds, 4 * least, 4 * most) + more, least, most);
    const std::int64_t rest = milliseconds % 1000 * 2 + (oneShot ? 1 : 0);
    return static_cast<std::uint64_t>(whole) << 32 | static_cast<std::uint32_t>(rest);
}

constexpr TimerSetting unpacked(std::uint64_t setting) {
    const auto rest = static_cast<std::int32_t>(setting);
    const std::int32_t oneShot = rest & 1;
    return {{static_cast<std::int32_t>(setting >> 32), (rest - oneShot) / 2}, oneShot != 0};
}

/// When a timer of this setting is due that is started in the given second.
constexpr TimePair dueAfter(std::uint64_t setting, std::int64_t second) {
    const TimePair period = unpacked(setting).period;
    return {second + period.seconds, period.milliseconds};
}

}  // namespace OrvoSupport

#endif
