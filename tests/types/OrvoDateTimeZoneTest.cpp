// OrvoDateTime where clocks change, against the system's own conversions. Each zone has a child process.
#include <gmock/gmock.h>

#include <random>

#include "OrvoDateTime.h"
#include "support/ChildProcess.h"
#include "types/SystemTime.h"

using namespace OrvoSupport;
using testing_support::ChildProcess;
using testing_support::inRange;
using testing_support::systemInstant;
using testing_support::systemLocal;

namespace {

constexpr long long hour = 3600;
constexpr long long day = 24 * hour;

bool sameTime(const std::tm& a, const std::tm& b) {
    return a.tm_sec == b.tm_sec && a.tm_min == b.tm_min && a.tm_hour == b.tm_hour && a.tm_mday == b.tm_mday &&
           a.tm_mon == b.tm_mon && a.tm_year == b.tm_year;
}

string textOf(const std::tm& f) {
    char text[80];
    std::snprintf(text, sizeof text, "%d/%d/%d %d:%d:%d", f.tm_mday, f.tm_mon + 1, f.tm_year + 1900,
                  f.tm_hour, f.tm_min, f.tm_sec);
    return text;
}

string textOf(const OrvoDateTime& value) {
    char text[80];
    std::snprintf(text, sizeof text, "%u/%u/%u %u:%u:%u", value.getDay(), value.getMonth(), value.getYear(),
                  value.getHour(), value.getMinute(), value.getSecond());
    return text;
}

/// Strict validation in the system's own words.
bool systemAccepts(std::tm fields) {
    std::tm normal = fields;
    const long long instant = systemInstant(normal);
    return inRange(instant, normal) && sameTime(normal, fields);
}

int failures = 0;

void expect(bool holds, const string& what) {
    if (holds || ++failures > 20) return;
    std::printf("%s\n", what.c_str());
}

/// A local time, existing or not, with unknown daylight flag.
void checkTime(const std::tm& wanted) {
    std::tm fields = wanted;
    fields.tm_isdst = -1;
    OrvoDateTime value;
    string message;
    const bool accepted = value.setDateTimeFromStrImpl(textOf(fields), message);
    expect(accepted == systemAccepts(fields), "accepted or not: " + textOf(fields));
    if (!accepted) return;
    std::tm normal = fields;
    const long long instant = systemInstant(normal);
    expect(value.getTime() == instant, "instant of " + textOf(fields));
    expect(value.day() == static_cast<unsigned>(normal.tm_yday) + 1, "day of " + textOf(fields));
    expect(value.getWeekday() == static_cast<unsigned>(normal.tm_wday), "weekday of " + textOf(fields));
    expect(value == OrvoDateTime(value), "equal to its copy: " + textOf(fields));
}

/// Standard time given explicitly, as set() does.
void checkStandardTime(const std::tm& wanted) {
    std::tm fields = wanted;
    fields.tm_isdst = 0;
    OrvoDateTime value;
    string message;
    const auto u = [](int number) { return static_cast<unsigned int>(number); };
    const bool accepted =
        value.setDateTimeImpl(u(fields.tm_mday), u(fields.tm_mon + 1), u(fields.tm_year), u(fields.tm_hour),
                              u(fields.tm_min), u(fields.tm_sec), message);
    expect(accepted == systemAccepts(fields), "standard time accepted or not: " + textOf(fields));
}

void addTo(std::tm& fields, OrvoDateTime::FieldId_t field, int amount) {
    int* const members[] = {&fields.tm_mon,  &fields.tm_mday, &fields.tm_year,
                            &fields.tm_hour, &fields.tm_min,  &fields.tm_sec};
    *members[field] += amount;
}

/// Arithmetic by its definition: instant, local time with its flag, addition, normal form.
void checkArithmetic(const std::tm& from, OrvoDateTime::FieldId_t field, int amount) {
    const string what = textOf(from) + " field " + std::to_string(field) + " by " + std::to_string(amount);
    OrvoDateTime value;
    string message;
    if (amount == 0 || !value.setDateTimeFromStrImpl(textOf(from), message)) return;
    std::tm fields = from;
    fields.tm_isdst = -1;
    const long long instant = systemInstant(fields);
    bool possible = systemLocal(instant, fields);
    addTo(fields, field, amount);
    const long long moved = systemInstant(fields);
    possible = possible && inRange(moved, fields);
    try {
        value.add(field, static_cast<unsigned int>(amount));
        expect(possible, "moved out of range: " + what);
        expect(textOf(value) == textOf(fields), what + ": " + textOf(value) + ", not " + textOf(fields));
    } catch (const OrvoInvalidDateException&) {
        expect(!possible, "not moved: " + what);
    }
}

/// Setting a month keeps the daylight flag of the value, so that summer to winter is refused.
void checkSetMonth(const std::tm& from, unsigned int month) {
    OrvoDateTime value;
    string message;
    if (!value.setDateTimeFromStrImpl(textOf(from), message)) return;
    std::tm fields = from;
    fields.tm_isdst = -1;
    const long long instant = systemInstant(fields);
    systemLocal(instant, fields);
    fields.tm_mon = static_cast<int>(month) - 1;
    bool accepted = true;
    try {
        value.setMonth(month);
    } catch (const OrvoInvalidDateException&) {
        accepted = false;
    }
    expect(accepted == systemAccepts(fields), "month of " + textOf(from) + " to " + std::to_string(month));
}

/// Instants near which the clocks change.
std::vector<long long> changes() {
    std::vector<long long> result;
    const long long years[][2] = {{1970, 2040}, {2099, 2101}, {2999, 3000}};
    for (const auto& range : years) {
        long long instant = (range[0] - 1970) * 31556952 + day;
        const long long end = (range[1] - 1970) * 31556952;
        std::tm before{};
        systemLocal(instant, before);
        for (; instant < end; instant += 6 * hour) {
            std::tm after{};
            systemLocal(instant + 6 * hour, after);
            const int passed =
                ((after.tm_hour - before.tm_hour + 24) % 24) * 60 + after.tm_min - before.tm_min;
            if (passed != 360) result.push_back(instant);
            before = after;
        }
    }
    return result;
}

}  // namespace

OSUPT_CHILD(edges) {
    const std::vector<long long> all = changes();
    for (const long long change : all) {
        for (long long instant = change - 4 * hour; instant <= change + 10 * hour; instant += 1800) {
            std::tm fields{};
            systemLocal(instant, fields);
            for (const int shift : {-60, -30, 0, 30, 60}) {  // into the skipped times as well
                std::tm wanted = fields;
                wanted.tm_min += shift;
                if (wanted.tm_min < 0) wanted.tm_min += 60, --wanted.tm_hour;
                if (wanted.tm_min > 59) wanted.tm_min -= 60, ++wanted.tm_hour;
                if (wanted.tm_hour < 0 || wanted.tm_hour > 23) continue;
                checkTime(wanted);
            }
            checkStandardTime(fields);
            checkArithmetic(fields, OrvoDateTime::Hour, 1);
            checkArithmetic(fields, OrvoDateTime::Minute, -30);
            checkArithmetic(fields, OrvoDateTime::Day, -1);
            checkArithmetic(fields, OrvoDateTime::Month, 6);
        }
    }
    std::printf("%u changes, %d failures\n", static_cast<unsigned int>(all.size()), failures);
    return failures == 0 && all.size() > 20 ? 0 : 1;
}

OSUPT_CHILD(anyTime) {
    std::mt19937_64 random(7);
    for (int n = 0; n < 5000; ++n) {
        std::tm fields{};
        systemLocal(static_cast<long long>(random() % 32535200000u), fields);
        const auto field = static_cast<OrvoDateTime::FieldId_t>(random() % 6);
        checkTime(fields);
        checkStandardTime(fields);
        checkSetMonth(fields, static_cast<unsigned int>(random() % 12) + 1);
        checkArithmetic(fields, field, static_cast<int>(random() % 4001) - 2000);
    }
    return failures == 0 ? 0 : 1;
}

OSUPT_CHILD(limits) {
    const int years[] = {69, 70, 71, 1099, 1100, 1101};
    for (const int year : years) {
        for (int hourOfDay = 0; hourOfDay < 24; ++hourOfDay) {
            std::tm fields{};
            fields.tm_year = year;
            fields.tm_hour = hourOfDay;
            for (const int month : {0, 11}) {
                fields.tm_mon = month;
                fields.tm_mday = month == 0 ? 1 : 31;
                checkTime(fields);
                checkArithmetic(fields, OrvoDateTime::Hour, 20);
                checkArithmetic(fields, OrvoDateTime::Hour, -20);
            }
        }
    }
    return failures == 0 ? 0 : 1;
}

namespace {

void runInEveryZone(const char* entry) {
    for (const string& zone : testing_support::changingZones()) {
        SCOPED_TRACE(zone);
        testing_support::setEnvironment("TZ", zone.c_str());
        ChildProcess child(entry);
        EXPECT_EQ(0, child.wait()) << child.output();
    }
    testing_support::setEnvironment("TZ", nullptr);
}

}  // namespace

TEST(OrvoDateTimeZoneTest, everyClockChangeIsReadAndMovedAcrossAsTheSystemDoes) { runInEveryZone("edges"); }

TEST(OrvoDateTimeZoneTest, anyTimeIsReadAndMovedAsTheSystemDoes) { runInEveryZone("anyTime"); }

TEST(OrvoDateTimeZoneTest, theRangeIsLocalYears1970To3000NotBefore1970Utc) { runInEveryZone("limits"); }

TEST(OrvoDateTimeZoneTest, aChangedZoneIsNoticed) {
    testing_support::useZone("UTC0");
    OrvoDateTime value;
    value = string("15/3/2009 12:00:00");
    const long long utc = value.getTime();
    testing_support::useZone("ZZZ-3");
    EXPECT_EQ(utc - 3 * hour, value.getTime());
    value = string("1/1/1970 03:00:00");
    EXPECT_EQ(0, value.getTime());
    testing_support::useZone("UTC0");
}

TEST(OrvoDateTimeZoneTest, aValueTheZoneCannotRepresentStillTellsItsFields) {
    testing_support::useZone("UTC0");
    OrvoDateTime value;
    value = string("1/1/1970 00:30:00");
    testing_support::useZone("ZZZ-3");
    EXPECT_EQ(-1, value.getTime());
    EXPECT_EQ(1u, value.day());
    EXPECT_EQ(4u, value.getWeekday());
    EXPECT_EQ(L"January", value.monthName());
    EXPECT_FALSE(value.toGMTString().empty());
    EXPECT_FALSE(value.isLeapYear());
    EXPECT_THROW(value.add(OrvoDateTime::Day, 1), OrvoInvalidDateException);
    testing_support::useZone("UTC0");
}

TEST(OrvoDateTimeZoneTest, standardTimeIsRefusedInSummer) {
    testing_support::useZone("CET-1CEST");
    OrvoDateTime value;
    EXPECT_THROW(value.set(15, 7, 109, 10, 0, 0), OrvoInvalidDateException);
    value.set(15, 1, 109, 10, 0, 0);
    EXPECT_THROW(value.setMonth(7), OrvoInvalidDateException);
    value.add(OrvoDateTime::Month, 6);
    EXPECT_EQ("15/7/2009 11:0:0", textOf(value));
    testing_support::useZone("UTC0");
}

TEST(OrvoDateTimeZoneTest, daylightTimeIsRefusedInWinter) {
    testing_support::useZone("CET-1CEST");
    std::tm fields{};
    fields.tm_mday = 15;
    fields.tm_year = 109;
    fields.tm_hour = 10;
    fields.tm_isdst = 1;
    OrvoDateTime value;
    EXPECT_THROW(value = fields, OrvoInvalidDateException);
    fields.tm_mon = 6;
    value = fields;
    EXPECT_EQ("15/7/2009 10:0:0", textOf(value));
    testing_support::useZone("UTC0");
}

TEST(OrvoDateTimeZoneTest, theRfcFormIsLocalTimeInWinterAndSummerWhateverItsZoneSays) {
    testing_support::useZone("CET-1CEST");
    OrvoDateTime value;
    value = string("Sun 15 Feb 2009 10:20:30 GMT,");
    EXPECT_EQ("15/2/2009 10:20:30", textOf(value));
    const long long winter = value.getTime();
    value = string("Wed 15 Jul 2009 10:20:30 GMT,");
    EXPECT_EQ("15/7/2009 10:20:30", textOf(value));
    const long long summer = value.getTime();
    testing_support::useZone("UTC0");
    value = string("15/2/2009 10:20:30");
    EXPECT_EQ(value.getTime() - hour, winter);
    value = string("15/7/2009 10:20:30");
    EXPECT_EQ(value.getTime() - 2 * hour, summer);
}

// The question is asked with the daylight flag of the value: half past midnight of 29 February in daylight
// time is late on the 28th, and that is still February.
TEST(OrvoDateTimeZoneTest, inSummerTheFirstHourOfADayIsInALeapYearAlways) {
    testing_support::useZone("CET-1CEST");
    OrvoDateTime value;
    value = string("15/7/2009 00:30:00");
    EXPECT_TRUE(value.isLeapYear());
    value = string("15/7/2009 01:30:00");
    EXPECT_FALSE(value.isLeapYear());
    value = string("15/7/2008 01:30:00");
    EXPECT_TRUE(value.isLeapYear());
    testing_support::useZone("UTC0");
}

// Hour, minute and second are stored as they are, so that a value may hold a time the clocks skipped.
TEST(OrvoDateTimeZoneTest, aSkippedTimeReachedByItsHourEqualsTheTimeTheSystemTakesItFor) {
    int zonesThatSkip = 0;
    for (const string& zone : testing_support::changingZones()) {
        SCOPED_TRACE(zone);
        testing_support::useZone(zone);
        OrvoDateTime value;
        std::tm skipped{};
        for (int month = 0, date = 1; month < 6; date = date % 31 + 1, month += date == 1) {
            char text[40];
            std::snprintf(text, sizeof text, "%d/%d/2009 04:30:00", date, month + 1);
            string message;
            if (!value.setDateTimeFromStrImpl(text, message)) continue;
            value.setHour(2);
            skipped = std::tm{};
            skipped.tm_mday = date;
            skipped.tm_mon = month;
            skipped.tm_year = 109;
            skipped.tm_hour = 2;
            skipped.tm_min = 30;
            skipped.tm_isdst = -1;
            systemInstant(skipped);
            if (skipped.tm_hour != 2) break;
        }
        if (skipped.tm_hour == 2) continue;  // a zone that changes at another hour or in the autumn
        ++zonesThatSkip;
        OrvoDateTime normal;
        normal = string(textOf(skipped));
        EXPECT_EQ(2u, value.getHour());
        EXPECT_TRUE(value == normal && value <= normal && value >= normal);
        EXPECT_FALSE(value < normal || normal < value);
        EXPECT_EQ(value.toString(), normal.toString());
    }
    EXPECT_GT(zonesThatSkip, 0);
    testing_support::useZone("UTC0");
}
