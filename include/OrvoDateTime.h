// A local date and time to the second.
#ifndef ORVO_DATE_TIME_H
#define ORVO_DATE_TIME_H

#include <atomic>
#include <cstdint>
#include <ctime>
#include <locale>
#include <optional>

#include "OrvoException.h"
#include "OrvoExport.h"
#include "OrvoString.h"

namespace OrvoSupport {

/// A date and time in the machine's time zone, kept as day, month, year, hour, minute and second, of the
/// years 1970 to 3000 (and not before 1 January 1970 UTC). Which of two instants a time denotes that occurs
/// twice when clocks go back is the system's choice.
///
/// What cannot be read or does not exist throws OrvoInvalidDateException and leaves the fields as they were.
/// The ...Impl twins return false and give the reason instead. Broken-down times are checked strictly: 31
/// April or a time skipped when clocks go forward is refused, not rolled over, and so is a time whose
/// daylight flag does not fit.
///
/// Each value carries an identity stamp, renewed by every assignment but that from another value.
///
/// Thread safety: a value is used by one thread at a time; different values are independent. Stamps given
/// out by several threads at once may be equal.
class OSUPT_API OrvoDateTime {
public:
    /// The field that add() and subtract() change. The numbers are part of the interface.
    enum FieldId_t : int { Month = 0, Day = 1, Year = 2, Hour = 3, Minute = 4, Second = 5 };

    /// Now, printing with the library's default locale.
    OrvoDateTime();
    /// The same time and stamp, printing with the process's global locale of this moment.
    OrvoDateTime(const OrvoDateTime& other);
    virtual ~OrvoDateTime();

    /// Takes over time and stamp; the locale stays.
    OrvoDateTime& operator=(const OrvoDateTime& other);
    /// Takes over a broken-down local time; its weekday and day of the year are ignored.
    OrvoDateTime& operator=(const std::tm& fields);
    /// Reads one of "Sun Mar 15 10:20:30 2009", "15/3/2009 10:20:30" (day first, the time may be missing from
    /// the right) and "Sun 15 Mar 2009 10:20:30 GMT,". The last is what any text with a comma is read as; its
    /// zone is ignored, and it alone rolls over (31 Apr is 1 May).
    OrvoDateTime& operator=(const string& text);

    /// As the assignments above; set(tm) reports its reason with the exception's prefix twice.
    void set(const std::tm& fields);
    void set(const string& text);
    /// `year` counts from 1900 here, unlike everywhere else, and the time is standard time: in the summer of
    /// a zone with daylight saving it is refused.
    void set(unsigned int day, unsigned int month, unsigned int year, unsigned int hour, unsigned int minute,
             unsigned int second);
    /// As set() with the time 00:00:00.
    void setDate(unsigned int day, unsigned int month, unsigned int year);
    /// The locale that the printing functions without one use.
    void set(const std::locale& locale);

    bool setDateImpl(unsigned int day, unsigned int month, unsigned int year, string& message);
    bool setDateTimeImpl(unsigned int day, unsigned int month, unsigned int year, unsigned int hour,
                         unsigned int minute, unsigned int second, string& message);
    bool setDateTimeFromTmImpl(const std::tm& fields, string& message);
    bool setDateTimeFromStrImpl(const string& text, string& message);

    unsigned int getDay() const { return m_day; }          ///< day of the month, 1-31
    unsigned int getMonth() const { return m_month + 1; }  ///< 1-12
    unsigned int getYear() const { return m_year; }        ///< with the century
    unsigned int getHour() const { return m_hour; }
    unsigned int getMinute() const { return m_minute; }
    unsigned int getSecond() const { return m_second; }

    /// Seconds since 1 January 1970 UTC; -1 when the zone was changed and the time is out of range in the new
    /// one.
    long long getTime() const;
    unsigned int day() const;         ///< day of the year, 1-366
    unsigned int getWeekday() const;  ///< 0 is Sunday
    bool isLeapYear() const;
    /// A number made of instant and stamp, nearly always 0; stored by hosts, so it stays as it is.
    unsigned int hash() const;

    /// Each changes one field and returns its argument. Day, month and year are checked as a whole date at
    /// the daylight flag the value has now; hour, minute and second only against their limits. An hour out of
    /// range is reported with the month's text, which hosts compare with.
    int setDay(unsigned int day);
    int setMonth(unsigned int month);  ///< 1-12
    int setYear(unsigned int year);    ///< with the century
    int setHour(unsigned int hour);
    int setMinute(unsigned int minute);
    int setSecond(unsigned int second);

    /// Moves a field by `amount`, which is taken as a signed number, and carries into the others: 31 January
    /// and a month is 3 March. An amount of 0 throws with an empty message. Returns the value itself.
    OrvoDateTime& add(FieldId_t field, unsigned int amount);
    OrvoDateTime& subtract(FieldId_t field, unsigned int amount);

    /// Date and time as the locale writes them (%c).
    wstring toString() const;
    wstring toString(const std::locale& locale) const;
    /// The same in UTC, with the stored locale.
    wstring toGMTString() const;
    /// The locale's time of day (%X). The names of this and the next function are swapped; hosts rely on it.
    wstring dateToString() const;
    wstring dateToString(const std::locale& locale) const;
    /// The locale's date (%x).
    wstring timeToString() const;
    wstring timeToString(const std::locale& locale) const;
    wstring weekdayName() const;
    wstring weekdayName(const std::locale& locale) const;
    wstring monthName() const;
    wstring monthName(const std::locale& locale) const;

private:
    bool setDayImpl(unsigned int day, string& message) const;
    bool setMonthImpl(unsigned int month, string& message) const;
    bool setYearImpl(unsigned int year, string& message) const;
    static bool validateDateTime(const std::tm& fields, string& message);
    bool operatorImpl(const std::tm& fields, string& message);
    bool setDateTime(const string& text, string& message);
    bool modifyDate(FieldId_t field, int amount, string& message);
    static int getMonthForRFCName(const char* name);
    static wstring constructTimeString(const std::tm& fields, const std::locale& locale, char conversion);
    void adjustInstanceId();

    const std::locale& locale() const;
    std::tm storedFields() const;
    std::tm localFields() const;
    void store(const volatile std::tm& fields);

    std::uint32_t m_day;
    std::uint32_t m_month;  // 0-11
    std::uint32_t m_year;
    std::uint32_t m_hour;
    std::uint32_t m_minute;
    std::uint32_t m_second;
    std::optional<std::locale> m_locale;  // without one, the library's default
    std::uint32_t m_instanceId;

    static std::atomic<std::uint32_t> m_objectCounter;
};

/// All compare the instants. Two oddities hosts rely on: != is false for any two values, and > is the same
/// function as <.
OSUPT_API bool operator==(const OrvoDateTime& a, const OrvoDateTime& b);
OSUPT_API bool operator!=(const OrvoDateTime& a, const OrvoDateTime& b);
OSUPT_API bool operator<(const OrvoDateTime& a, const OrvoDateTime& b);
OSUPT_API bool operator>(const OrvoDateTime& a, const OrvoDateTime& b);
OSUPT_API bool operator<=(const OrvoDateTime& a, const OrvoDateTime& b);
OSUPT_API bool operator>=(const OrvoDateTime& a, const OrvoDateTime& b);

}  // namespace OrvoSupport

#endif
