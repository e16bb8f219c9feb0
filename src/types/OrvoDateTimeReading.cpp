// OrvoDateTime: what a value tells - instants, comparison, printing.
#include <iterator>
#include <sstream>

#include "OrvoDateTime.h"
#include "platform/Clock.h"
#include "text/DefaultLocale.h"
#include "types/Calendar.h"

namespace OrvoSupport {
namespace {

/// The fields alone: two equal values are equal also in an hour that occurs twice, whichever of the two
/// instants the system picks each time it is asked.
bool sameFields(const OrvoDateTime& a, const OrvoDateTime& b) {
    return a.getSecond() == b.getSecond() && a.getMinute() == b.getMinute() && a.getHour() == b.getHour() &&
           a.getDay() == b.getDay() && a.getMonth() == b.getMonth() && a.getYear() == b.getYear();
}

}  // namespace

std::tm OrvoDateTime::storedFields() const {
    std::tm fields{};
    fields.tm_mday = static_cast<int>(m_day);
    fields.tm_mon = static_cast<int>(m_month);
    fields.tm_year = static_cast<int>(m_year) - 1900;
    fields.tm_hour = static_cast<int>(m_hour);
    fields.tm_min = static_cast<int>(m_minute);
    fields.tm_sec = static_cast<int>(m_second);
    fields.tm_isdst = -1;
    return fields;
}

/// The local time of the value's instant; of a value that the zone of today cannot represent, its own fields.
std::tm OrvoDateTime::localFields() const {
    std::tm fields = storedFields();
    if (platform::fromLocal(fields) < 0) calendar::fieldsOf(calendar::secondsOf(fields), fields);
    return fields;
}

const std::locale& OrvoDateTime::locale() const { return m_locale ? *m_locale : defaultLocale(); }

long long OrvoDateTime::getTime() const {
    std::tm fields = storedFields();
    return platform::fromLocal(fields);
}

unsigned int OrvoDateTime::day() const { return static_cast<unsigned int>(localFields().tm_yday) + 1; }

unsigned int OrvoDateTime::getWeekday() const { return static_cast<unsigned int>(localFields().tm_wday); }

bool OrvoDateTime::isLeapYear() const {
    constexpr int february = 1;
    std::tm fields = localFields();
    fields.tm_mday = 29;
    fields.tm_mon = february;
    if (!calendar::exists(fields)) calendar::fieldsOf(calendar::secondsOf(fields), fields);
    platform::fromLocal(fields);
    return fields.tm_mday == 29 || fields.tm_mon == february;
}

unsigned int OrvoDateTime::hash() const {
    const double number = static_cast<double>(getTime() * 41358 + m_instanceId);
    const double residue = number - (number / 28.0) * 28.0;  // no remainder: hosts have stored this one
    return static_cast<unsigned int>(static_cast<long long>(residue));
}

wstring OrvoDateTime::toString() const { return toString(locale()); }

wstring OrvoDateTime::toString(const std::locale& locale) const {
    return constructTimeString(localFields(), locale, 'c');
}

wstring OrvoDateTime::toGMTString() const {
    std::tm fields = storedFields();
    const std::int64_t seconds = platform::fromLocal(fields);
    if (seconds < 0 || !platform::toUtc(seconds, fields)) fields = localFields();
    return constructTimeString(fields, locale(), 'c');
}

wstring OrvoDateTime::dateToString() const { return dateToString(locale()); }

wstring OrvoDateTime::dateToString(const std::locale& locale) const {
    return constructTimeString(localFields(), locale, 'X');
}

wstring OrvoDateTime::timeToString() const { return timeToString(locale()); }

wstring OrvoDateTime::timeToString(const std::locale& locale) const {
    return constructTimeString(localFields(), locale, 'x');
}

wstring OrvoDateTime::weekdayName() const { return weekdayName(locale()); }

wstring OrvoDateTime::weekdayName(const std::locale& locale) const {
    return constructTimeString(localFields(), locale, 'A');
}

wstring OrvoDateTime::monthName() const { return monthName(locale()); }

wstring OrvoDateTime::monthName(const std::locale& locale) const {
    return constructTimeString(localFields(), locale, 'B');
}

// One conversion at a time: the formatter's own reading of patterns asks the locale's ctype for single
// characters, which ansi_ctype and utf8_ctype do not convert.
wstring OrvoDateTime::constructTimeString(const std::tm& fields, const std::locale& locale, char conversion) {
    std::wostringstream stream;
    stream.imbue(locale);
    const auto& formatter = std::use_facet<std::time_put<wchar_t>>(locale);
    formatter.put(std::ostreambuf_iterator<wchar_t>(stream), stream, L' ', &fields, conversion);
    return stream.str();
}

bool operator==(const OrvoDateTime& a, const OrvoDateTime& b) {
    return sameFields(a, b) || a.getTime() == b.getTime();
}

bool operator!=(const OrvoDateTime&, const OrvoDateTime&) { return false; }

bool operator<(const OrvoDateTime& a, const OrvoDateTime& b) {
    return !sameFields(a, b) && a.getTime() < b.getTime();
}

bool operator>(const OrvoDateTime& a, const OrvoDateTime& b) { return a < b; }

bool operator<=(const OrvoDateTime& a, const OrvoDateTime& b) {
    return sameFields(a, b) || a.getTime() <= b.getTime();
}

bool operator>=(const OrvoDateTime& a, const OrvoDateTime& b) {
    return sameFields(a, b) || a.getTime() >= b.getTime();
}

}  // namespace OrvoSupport
