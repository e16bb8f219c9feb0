// Win32 half of Clock: the C run-time library's 64-bit conversions.
#include "platform/Clock.h"

#include <time.h>
#include <windows.h>

#include <atomic>

namespace OrvoSupport::platform {
namespace {

constexpr int firstYear = 1970 - 1900;
constexpr int lastYear = 3000 - 1900;
constexpr std::int64_t secondsPerDay = 86400;
constexpr std::int64_t ticksPerSecond = 10'000'000;     // of a FILETIME,
constexpr std::int64_t secondsUntil1970 = 11644473600;  // which begins in 1601
constexpr std::int64_t lastUtcSecond = 32535215999;     // 31 December 3000 23:59:59
// 400 years are whole weeks. West of Greenwich the last hours of the year 3000 are past what some versions of
// the run-time library convert; they are looked up one such cycle earlier.
constexpr int cycleYears = 400;
constexpr std::int64_t cycleSeconds = 146097 * secondsPerDay;

bool yearInRange(int year) { return year >= firstYear && year <= lastYear; }

/// All that a conversion depends on.
struct Zone {
    static Zone now() { return {_timezone, _dstbias, _daylight}; }
    bool operator==(const Zone& other) const {
        return west == other.west && bias == other.bias && hasDaylight == other.hasDaylight;
    }
    long west;
    long bias;
    int hasDaylight;
};

// What the process has asked for last. A program that logs asks for the same second many thousand times. A
// thread that finds it taken, maybe for ever by one that was ended, does without.
struct LocalSecond {
    std::int64_t second;
    Zone zone;
    std::tm fields;
};
LocalSecond lastSecond = {-1, {}, {}};
std::atomic<bool> lastSecondTaken{false};

}  // namespace

// Some run-time libraries look for the time zone when they are asked for the time, under a lock that a thread
// which is ended at the end of the process may leave behind.
std::int64_t calendarSeconds() {
    FILETIME now;
    ::GetSystemTimeAsFileTime(&now);
    const std::int64_t ticks = (std::int64_t{now.dwHighDateTime} << 32) | now.dwLowDateTime;
    return ticks / ticksPerSecond - secondsUntil1970;
}

std::int64_t monotonicNanoseconds() {
    LARGE_INTEGER frequency;
    LARGE_INTEGER count;
    ::QueryPerformanceFrequency(&frequency);  // neither fails on a system the library runs on
    ::QueryPerformanceCounter(&count);
    const std::int64_t whole = count.QuadPart / frequency.QuadPart;
    const std::int64_t rest = count.QuadPart % frequency.QuadPart;
    return whole * 1000000000 + rest * 1000000000 / frequency.QuadPart;
}

// _localtime64 and _gmtime64 answer in a buffer of the calling thread.
bool toLocal(std::int64_t seconds, std::tm& fields) {
    if (seconds < 0 || seconds > lastUtcSecond + secondsPerDay) return false;
    const bool late = seconds > lastUtcSecond;
    const __time64_t instant = late ? seconds - cycleSeconds : seconds;
    const std::tm* converted = ::_localtime64(&instant);
    if (!converted) return false;
    fields = *converted;
    if (late) fields.tm_year += cycleYears;
    return fields.tm_year <= lastYear;
}

bool localNow(std::tm& fields) {
    const std::int64_t second = calendarSeconds();
    if (lastSecondTaken.exchange(true, std::memory_order_acquire)) return toLocal(second, fields);
    const Zone zone = Zone::now();
    bool good = true;
    if (second == lastSecond.second && zone == lastSecond.zone) {
        fields = lastSecond.fields;
    } else {
        good = toLocal(second, fields);
        // Only if nobody has set the zone meanwhile.
        lastSecond = {good && zone == Zone::now() ? second : -1, zone, fields};
    }
    lastSecondTaken.store(false, std::memory_order_release);
    return good;
}

bool toUtc(std::int64_t seconds, std::tm& fields) {
    if (seconds < 0 || seconds > lastUtcSecond + secondsPerDay) return false;
    const bool late = seconds > lastUtcSecond;
    const __time64_t instant = late ? seconds - cycleSeconds : seconds;
    const std::tm* utc = ::_gmtime64(&instant);
    if (!utc) return false;
    fields = *utc;
    if (late) fields.tm_year += cycleYears;
    return true;
}

std::int64_t fromLocal(std::tm& fields) {
    if (!yearInRange(fields.tm_year)) return -1;
    const bool late = fields.tm_year == lastYear;
    std::tm local = fields;
    if (late) local.tm_year -= cycleYears;
    const std::int64_t seconds = ::_mktime64(&local);
    if (late) local.tm_year += cycleYears;
    if (seconds < 0 || !yearInRange(local.tm_year)) return -1;
    fields = local;
    return late ? seconds + cycleSeconds : seconds;
}

std::int64_t fromLocalNear(std::tm& fields, std::int64_t) { return fromLocal(fields); }

std::int64_t fromUtc(const std::tm& fields) {
    if (!yearInRange(fields.tm_year)) return -1;
    std::tm utc = fields;
    return ::_mkgmtime64(&utc);
}

}  // namespace OrvoSupport::platform
