// Arithmetic of the proleptic Gregorian calendar, without zones.
#ifndef OSUPT_TYPES_CALENDAR_H
#define OSUPT_TYPES_CALENDAR_H

#include <cstdint>
#include <ctime>

namespace OrvoSupport::calendar {

constexpr int firstYear = 1970;
constexpr int lastYear = 3000;

constexpr bool isLeapYear(std::int64_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

/// Days in a month (0-11) of a year.
int daysInMonth(std::int64_t year, int month);

/// Seconds from 1 January 1970 00:00:00 to a date and time, as if days were all alike. Fields may be out of
/// their ranges; they count on.
std::int64_t secondsOf(const std::tm& fields);

/// The date and time that many seconds after (or before) 1 January 1970 00:00:00, weekday and day of the year
/// included. The daylight flag is left alone.
void fieldsOf(std::int64_t seconds, std::tm& fields);

/// Whether date and time exist in the calendar, in a year of the supported range.
bool exists(const std::tm& fields);

}  // namespace OrvoSupport::calendar

#endif
