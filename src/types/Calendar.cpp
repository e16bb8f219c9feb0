#include "types/Calendar.h"

namespace OrvoSupport::calendar {
namespace {

constexpr std::int64_t secondsPerDay = 86400;
constexpr std::int64_t daysPerEra = 146097;      // 400 years
constexpr std::int64_t daysBefore1970 = 719468;  // from 1 March of the year 0

constexpr std::int64_t floorDivide(std::int64_t value, std::int64_t by) {
    return (value >= 0 ? value : value - by + 1) / by;
}

/// Days from 1 January 1970 to the first of a month (0-11). Counted in years that begin in March, so that the
/// leap day comes last and the months' lengths follow a rule.
std::int64_t daysToMonth(std::int64_t year, int month) {
    if (month < 2) --year;
    const std::int64_t era = floorDivide(year, 400);
    const std::int64_t yearOfEra = year - era * 400;
    const std::int64_t dayOfYear = (153 * ((month + 10) % 12) + 2) / 5;
    return era * daysPerEra + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - daysBefore1970;
}

}  // namespace

int daysInMonth(std::int64_t year, int month) {
    static constexpr unsigned char days[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return days[month] + (month == 1 && isLeapYear(year) ? 1 : 0);
}

std::int64_t secondsOf(const std::tm& fields) {
    const std::int64_t carriedYears = floorDivide(fields.tm_mon, 12);
    const std::int64_t year = std::int64_t{1900} + fields.tm_year + carriedYears;
    const int month = static_cast<int>(fields.tm_mon - carriedYears * 12);
    const std::int64_t days = daysToMonth(year, month) + fields.tm_mday - 1;
    return days * secondsPerDay + std::int64_t{3600} * fields.tm_hour + std::int64_t{60} * fields.tm_min +
           fields.tm_sec;
}

void fieldsOf(std::int64_t seconds, std::tm& fields) {
    const std::int64_t day = floorDivide(seconds, secondsPerDay);
    const int second = static_cast<int>(seconds - day * secondsPerDay);
    const std::int64_t fromMarch = day + daysBefore1970;
    const std::int64_t era = floorDivide(fromMarch, daysPerEra);
    const std::int64_t dayOfEra = fromMarch - era * daysPerEra;
    const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int month = static_cast<int>((5 * dayOfYear + 2) / 153);  // March is 0
    fields.tm_mday = static_cast<int>(dayOfYear - (153 * month + 2) / 5 + 1);
    fields.tm_mon = (month + 2) % 12;
    const std::int64_t year = era * 400 + yearOfEra + (fields.tm_mon < 2 ? 1 : 0);
    fields.tm_year = static_cast<int>(year - 1900);
    fields.tm_hour = second / 3600;
    fields.tm_min = second / 60 % 60;
    fields.tm_sec = second % 60;
    fields.tm_wday = static_cast<int>(day + 4 - floorDivide(day + 4, 7) * 7);  // a Thursday was day 0
    fields.tm_yday = static_cast<int>(day - daysToMonth(year, 0));
}

bool exists(const std::tm& fields) {
    const std::int64_t year = std::int64_t{1900} + fields.tm_year;
    const auto below = [](int value, int limit) { return value >= 0 && value < limit; };
    return year >= firstYear && year <= lastYear && below(fields.tm_mon, 12) && fields.tm_mday >= 1 &&
           fields.tm_mday <= daysInMonth(year, fields.tm_mon) && below(fields.tm_hour, 24) &&
           below(fields.tm_min, 60) && below(fields.tm_sec, 60);
}

}  // namespace OrvoSupport::calendar
