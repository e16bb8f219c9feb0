// The calendar and the clocks of the system.
#ifndef OSUPT_PLATFORM_CLOCK_H
#define OSUPT_PLATFORM_CLOCK_H

#include <cstdint>
#include <ctime>

namespace OrvoSupport::platform {

/// Seconds since 1 January 1970 UTC.
std::int64_t calendarSeconds();

/// Nanoseconds of a clock that never goes back, from an unspecified start.
std::int64_t monotonicNanoseconds();

/// The local time of an instant between 1 January 1970 UTC and the end of the local year 3000. Returns false
/// outside, with nothing of use in `fields`.
bool toLocal(std::int64_t seconds, std::tm& fields);

/// The local time of this moment.
bool localNow(std::tm& fields);

/// toLocal() in UTC; reaches far enough for every instant that toLocal() takes.
bool toUtc(std::int64_t seconds, std::tm& fields);

/// The instant of a local time in the system's zone (as the environment has it now), and in `fields` that
/// instant's local time. Every field must be in its own range; the date need not exist (31 April is 1 May).
/// The daylight flag counts as for mktime(): negative leaves the choice to the system, else the time is taken
/// as standard or daylight time. Returns -1 when the instant is before 1970 UTC or the local year before, or
/// after, is not one of 1970 to 3000.
std::int64_t fromLocal(std::tm& fields);

/// fromLocal() for an existing date whose instant is probably `guess` and whose daylight flag is known. The
/// answer is the same, but cheaper when the guess is right; the zone is the one that the last fromLocal()
/// found.
std::int64_t fromLocalNear(std::tm& fields, std::int64_t guess);

/// The instant of a UTC time of the years 1970 to 3000 whose fields are in their ranges.
std::int64_t fromUtc(const std::tm& fields);

}  // namespace OrvoSupport::platform

#endif
