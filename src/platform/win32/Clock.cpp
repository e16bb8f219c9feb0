// Win32 half of Clock: the C run-time library's 64-bit conversions.
#include "platform/Clock.h"

#include <time.h>
#include <windows.h>

namespace OrvoSupport::platform {
namespace {

constexpr int firstYear = 1970 - 1900;
constexpr int lastYear = 3000 - 1900;
constexpr std::int64_t secondsPerDay = 86400;
constexpr std::int64_t lastUtcSecond = 32535215999;  // 31 December 3000 23:59:59
// 400 years are whole weeks. West of Greenwich the last hours of the year 3000 are past what some versions of
// the run-time library convert; they are looked up one such cycle earlier.
constexpr int cycleYears = 400;
constexpr std::int64_t cycleSeconds = 146097 * secondsPerDay;

bool yearInRange(int year) { return year >= firstYear && year <= lastYear; }

}  // namespace

std::int64_t calendarSeconds() { return ::_time64(nullptr); }

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

bool localNow(std::tm& fields) { return toLocal(calendarSeconds(), fields); }

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
