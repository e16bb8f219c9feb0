// Linux half of Clock: the C library's conversions, held to the range of the documented ones.
#include "platform/Clock.h"

#include <time.h>

namespace OrvoSupport::platform {
namespace {

static_assert(sizeof(time_t) == 8, "local times past 2038 need a wide time_t");

constexpr int firstYear = 1970 - 1900;
constexpr int lastYear = 3000 - 1900;
constexpr std::int64_t secondsPerDay = 86400;
constexpr std::int64_t lastUtcSecond = 32535215999;  // 31 December 3000 23:59:59

bool yearInRange(int year) { return year >= firstYear && year <= lastYear; }

bool sameTime(const std::tm& a, const std::tm& b) {
    return a.tm_sec == b.tm_sec && a.tm_min == b.tm_min && a.tm_hour == b.tm_hour && a.tm_mday == b.tm_mday &&
           a.tm_mon == b.tm_mon && a.tm_year == b.tm_year;
}

}  // namespace

std::int64_t calendarSeconds() { return ::time(nullptr); }

std::int64_t monotonicNanoseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);  // cannot fail for this clock
    return std::int64_t{now.tv_sec} * 1000000000 + now.tv_nsec;
}

bool toLocal(std::int64_t seconds, std::tm& fields) {
    const time_t instant = seconds;
    return seconds >= 0 && ::localtime_r(&instant, &fields) && fields.tm_year <= lastYear;
}

bool toUtc(std::int64_t seconds, std::tm& fields) {
    const time_t instant = seconds;
    if (seconds < 0 || seconds > lastUtcSecond + secondsPerDay) return false;
    return ::gmtime_r(&instant, &fields) != nullptr;
}

std::int64_t fromLocal(std::tm& fields) {
    if (!yearInRange(fields.tm_year)) return -1;
    std::tm local = fields;
    const std::int64_t seconds = ::mktime(&local);
    if (seconds < 0 || !yearInRange(local.tm_year)) return -1;
    fields = local;
    return seconds;
}

std::int64_t fromLocalNear(std::tm& fields, std::int64_t guess) {
    const time_t instant = guess;
    std::tm local;
    const bool right = guess >= 0 && ::localtime_r(&instant, &local) && sameTime(local, fields) &&
                       local.tm_isdst == fields.tm_isdst && yearInRange(local.tm_year);
    if (!right) return fromLocal(fields);
    fields = local;
    return guess;
}

std::int64_t fromUtc(const std::tm& fields) {
    if (!yearInRange(fields.tm_year)) return -1;
    std::tm utc = fields;
    return ::timegm(&utc);
}

}  // namespace OrvoSupport::platform
