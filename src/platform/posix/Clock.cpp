// Linux half of Clock: the C library's conversions, held to the range of the documented ones.
#include "platform/Clock.h"

#include <pthread.h>
#include <time.h>

#include <mutex>

#include "platform/InternalLock.h"
#include "platform/posix/ForkOrder.h"

namespace OrvoSupport::platform {
namespace {

// The C library has a lock of its own for its time zone, which it leaves locked in a child that is forked
// while another thread holds it. This one is taken before it, and for a fork.
InternalLock zoneLock;
using ZoneGuard = std::lock_guard<InternalLock>;

__attribute__((constructor(innermostLocks))) void handleForks() {
    ::pthread_atfork([] { zoneLock.lock(); }, [] { zoneLock.unlock(); }, [] { zoneLock.unlock(); });
}

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

/// What the C library lets one see of its time zone. Whoever sets the zone changes this, as a rule; what
/// changes it, too, are conversions of times when the zone had other rules.
struct Zone {
    static Zone now() { return {::tzname[0], ::tzname[1], ::timezone, ::daylight}; }
    bool operator==(const Zone& other) const {
        return standardName == other.standardName && daylightName == other.daylightName &&
               west == other.west && hasDaylight == other.hasDaylight;
    }
    const char* standardName;
    const char* daylightName;
    long west;
    int hasDaylight;
};

// What a thread has asked for last. A program that logs asks for the same second many thousand times, and
// each conversion would take two locks.
struct LocalSecond {
    std::int64_t second;
    Zone zone;
    std::tm fields;
};
__thread LocalSecond lastSecond __attribute__((tls_model("initial-exec"))) = {-1, {}, {}};

std::int64_t makeTime(std::tm& local) {
    const ZoneGuard guard(zoneLock);
    return ::mktime(&local);
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
    const ZoneGuard guard(zoneLock);
    return seconds >= 0 && ::localtime_r(&instant, &fields) && fields.tm_year <= lastYear;
}

bool localNow(std::tm& fields) {
    const std::int64_t second = calendarSeconds();
    const Zone zone = Zone::now();
    if (second != lastSecond.second || !(zone == lastSecond.zone)) {
        if (!toLocal(second, fields)) return false;
        // Only if nobody has set the zone meanwhile.
        lastSecond = {zone == Zone::now() ? second : -1, zone, fields};
    }
    fields = lastSecond.fields;
    return true;
}

bool toUtc(std::int64_t seconds, std::tm& fields) {
    const time_t instant = seconds;
    if (seconds < 0 || seconds > lastUtcSecond + secondsPerDay) return false;
    const ZoneGuard guard(zoneLock);
    return ::gmtime_r(&instant, &fields) != nullptr;
}

std::int64_t fromLocal(std::tm& fields) {
    if (!yearInRange(fields.tm_year)) return -1;
    std::tm local = fields;
    const std::int64_t seconds = makeTime(local);
    if (seconds < 0 || !yearInRange(local.tm_year)) return -1;
    fields = local;
    return seconds;
}

std::int64_t fromLocalNear(std::tm& fields, std::int64_t guess) {
    std::tm local;
    const bool right = toLocal(guess, local) && sameTime(local, fields) &&
                       local.tm_isdst == fields.tm_isdst && yearInRange(local.tm_year);
    if (!right) return fromLocal(fields);
    fields = local;
    return guess;
}

std::int64_t fromUtc(const std::tm& fields) {
    if (!yearInRange(fields.tm_year)) return -1;
    std::tm utc = fields;
    const ZoneGuard guard(zoneLock);
    return ::timegm(&utc);
}

}  // namespace OrvoSupport::platform
