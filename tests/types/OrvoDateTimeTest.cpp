#include "OrvoDateTime.h"

#include <gmock/gmock.h>

#include <climits>
#include <thread>

#include "OrvoLocaleFactory.h"
#include "types/SystemTime.h"

using namespace OrvoSupport;

namespace {

// An explicit instantiation may name private members; this one makes the stamp readable to the tests.
std::uint32_t stampOf(const OrvoDateTime& value);
template <std::uint32_t OrvoDateTime::*Member>
struct StampReader {
    friend std::uint32_t stampOf(const OrvoDateTime& value) { return value.*Member; }
};
template struct StampReader<&OrvoDateTime::m_instanceId>;

class OrvoDateTimeTest : public testing::Test {
protected:
    OrvoDateTimeTest() { testing_support::useZone("UTC0"); }
};

OrvoDateTime at(const char* text) {
    OrvoDateTime value;
    value = string(text);
    return value;
}

string fieldsOf(const OrvoDateTime& value) {
    char text[80];
    std::snprintf(text, sizeof text, "%u/%u/%u %u:%u:%u", value.getDay(), value.getMonth(), value.getYear(),
                  value.getHour(), value.getMinute(), value.getSecond());
    return text;
}

std::tm tmOf(int day, int month, int year, int hour = 0, int minute = 0, int second = 0) {
    std::tm fields{};
    fields.tm_mday = day;
    fields.tm_mon = month - 1;
    fields.tm_year = year - 1900;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    fields.tm_isdst = -1;
    return fields;
}

/// The text of what an operation throws; empty when it throws nothing.
template <class Operation>
string thrownBy(Operation operation) {
    try {
        operation();
    } catch (const OrvoInvalidDateException& e) {
        EXPECT_EQ(0, e.getCode());
        return e.getText();
    }
    return "";
}

const string prefix = "OrvoInvalidDateException - ";
const string notADate = "Input does not compute to a valid DateTime object";

}  // namespace

TEST_F(OrvoDateTimeTest, aNewValueIsTheCurrentLocalTime) {
    const long long before = std::time(nullptr);
    const OrvoDateTime now;
    const long long after = std::time(nullptr);
    EXPECT_LE(before, now.getTime());
    EXPECT_GE(after, now.getTime());
    EXPECT_GE(now.getMonth(), 1u);
    EXPECT_LE(now.getMonth(), 12u);
}

TEST_F(OrvoDateTimeTest, everyNewValueGetsTheNextStamp) {
    const OrvoDateTime a;
    const OrvoDateTime b;
    EXPECT_EQ(stampOf(a) + 1, stampOf(b));
}

TEST_F(OrvoDateTimeTest, aCopyAndAnAssignedValueCarryTheStampOver) {
    OrvoDateTime source = at("15/3/2009 10:20:30");
    OrvoDateTime copy(source);
    OrvoDateTime assigned;
    assigned = source;
    EXPECT_EQ(stampOf(source), stampOf(copy));
    EXPECT_EQ(stampOf(source), stampOf(assigned));
    EXPECT_EQ("15/3/2009 10:20:30", fieldsOf(copy));
    EXPECT_EQ("15/3/2009 10:20:30", fieldsOf(assigned));
}

TEST_F(OrvoDateTimeTest, assignmentToItselfChangesNothing) {
    OrvoDateTime value = at("15/3/2009");
    const std::uint32_t stamp = stampOf(value);
    const OrvoDateTime& same = value;
    value = same;
    EXPECT_EQ(stamp, stampOf(value));
    EXPECT_EQ("15/3/2009 0:0:0", fieldsOf(value));
}

TEST_F(OrvoDateTimeTest, operationsStampAsOftenAsHostsExpect) {
    struct Case {
        const char* what;
        unsigned int stamps;
        void (*change)(OrvoDateTime&);
    };
    const Case cases[] = {
        {"assignment of a tm", 1, [](OrvoDateTime& d) { d = tmOf(1, 2, 2003); }},
        {"set(tm)", 1, [](OrvoDateTime& d) { d.set(tmOf(1, 2, 2003)); }},
        {"assignment of text", 2, [](OrvoDateTime& d) { d = string("1/2/2003"); }},
        {"refused text", 1, [](OrvoDateTime& d) { thrownBy([&] { d = string("no date"); }); }},
        {"set of six", 2, [](OrvoDateTime& d) { d.set(1, 2, 103, 4, 5, 6); }},
        {"setDate", 2, [](OrvoDateTime& d) { d.setDate(1, 2, 103); }},
        {"refused setDate", 0, [](OrvoDateTime& d) { thrownBy([&] { d.setDate(31, 4, 103); }); }},
        {"add", 1, [](OrvoDateTime& d) { d.add(OrvoDateTime::Day, 1); }},
        {"subtract", 1, [](OrvoDateTime& d) { d.subtract(OrvoDateTime::Month, 1); }},
        {"unknown field", 1, [](OrvoDateTime& d) { d.add(static_cast<OrvoDateTime::FieldId_t>(9), 1); }},
        {"single fields", 0,
         [](OrvoDateTime& d) { d.setDay(2), d.setMonth(3), d.setYear(2010), d.setHour(4); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        OrvoDateTime value = at("15/3/2009 10:20:30");
        const std::uint32_t before = stampOf(value);
        c.change(value);
        EXPECT_EQ(c.stamps, stampOf(value) - before);
    }
}

TEST_F(OrvoDateTimeTest, aCopyPrintsWithTheGlobalLocaleAndAnAssignedValueKeepsItsOwn) {
    class Fixed : public std::time_put<wchar_t> {
        iter_type do_put(iter_type out, std::ios_base&, wchar_t, const std::tm*, char c,
                         char) const override {
            *out++ = L'#';
            *out++ = static_cast<wchar_t>(c);
            return out;
        }
    };
    OrvoDateTime source = at("15/3/2009 10:20:30");
    source.set(std::locale(std::locale::classic(), new Fixed));
    const OrvoDateTime copy(source);
    OrvoDateTime assigned;
    assigned = source;
    EXPECT_EQ(L"#c", source.toString());
    EXPECT_EQ(L"03/15/09", copy.timeToString());
    EXPECT_EQ(L"03/15/09", assigned.timeToString());
}

TEST_F(OrvoDateTimeTest, aBrokenDownTimeIsTakenOverWhenItExists) {
    OrvoDateTime value;
    std::tm fields = tmOf(29, 2, 2008, 23, 59, 58);
    fields.tm_wday = 77;
    fields.tm_yday = -5;
    value = fields;
    EXPECT_EQ("29/2/2008 23:59:58", fieldsOf(value));
    value.set(tmOf(1, 1, 1970));
    EXPECT_EQ(0, value.getTime());
    value.set(tmOf(31, 12, 3000, 23, 59, 59));
    EXPECT_EQ(32535215999, value.getTime());
}

TEST_F(OrvoDateTimeTest, aBrokenDownTimeThatDoesNotExistIsRefusedAndLeavesTheFields) {
    const std::tm cases[] = {tmOf(31, 4, 2009),
                             tmOf(29, 2, 2009),
                             tmOf(29, 2, 2100),
                             tmOf(0, 1, 2009),
                             tmOf(1, 0, 2009),
                             tmOf(1, 13, 2009),
                             tmOf(1, 1, 2009, 24),
                             tmOf(1, 1, 2009, -1),
                             tmOf(1, 1, 2009, 0, 60),
                             tmOf(1, 1, 2009, 0, 0, 60),
                             tmOf(31, 12, 1969, 23, 59, 59),
                             tmOf(1, 1, 3001),
                             tmOf(INT_MAX, 1, 2009),
                             tmOf(1, 1, 2009, INT_MIN),
                             tmOf(1, 1, 0)};
    for (const std::tm& fields : cases) {
        SCOPED_TRACE(testing::Message()
                     << fields.tm_mday << '/' << fields.tm_mon + 1 << '/' << fields.tm_year);
        OrvoDateTime value = at("15/3/2009 10:20:30");
        EXPECT_EQ(prefix + notADate, thrownBy([&] { value = fields; }));
        EXPECT_EQ(prefix + prefix + notADate, thrownBy([&] { value.set(fields); }));
        EXPECT_EQ("15/3/2009 10:20:30", fieldsOf(value));
    }
}

TEST_F(OrvoDateTimeTest, setCountsYearsFrom1900) {
    OrvoDateTime value;
    value.set(15, 3, 109, 1, 2, 3);
    EXPECT_EQ("15/3/2009 1:2:3", fieldsOf(value));
    value.setDate(16, 4, 110);
    EXPECT_EQ("16/4/2010 0:0:0", fieldsOf(value));
    EXPECT_EQ(prefix + prefix + notADate, thrownBy([&] { value.set(15, 3, 2009, 0, 0, 0); }));
    EXPECT_EQ(prefix + prefix + notADate, thrownBy([&] { value.setDate(15, 3, 2009); }));
    EXPECT_EQ("16/4/2010 0:0:0", fieldsOf(value));
}

TEST_F(OrvoDateTimeTest, theTwinsThatDoNotThrowGiveTheReason) {
    OrvoDateTime value = at("15/3/2009");
    string message = "untouched";
    EXPECT_TRUE(value.setDateImpl(1, 2, 103, message));
    EXPECT_TRUE(value.setDateTimeImpl(1, 2, 103, 4, 5, 6, message));
    EXPECT_TRUE(value.setDateTimeFromTmImpl(tmOf(3, 4, 2005), message));
    EXPECT_TRUE(value.setDateTimeFromStrImpl("5/6/2007", message));
    EXPECT_EQ("untouched", message);
    EXPECT_FALSE(value.setDateImpl(0, 2, 103, message));
    EXPECT_EQ(prefix + notADate, message);
    EXPECT_FALSE(value.setDateTimeImpl(1, 2, 103, 24, 0, 0, message = ""));
    EXPECT_EQ(prefix + notADate, message);
    EXPECT_FALSE(value.setDateTimeFromTmImpl(tmOf(31, 4, 2005), message = ""));
    EXPECT_EQ(prefix + notADate, message);
    EXPECT_FALSE(value.setDateTimeFromStrImpl("31/4/2005", message = ""));
    EXPECT_EQ(notADate, message);
    EXPECT_EQ("5/6/2007 0:0:0", fieldsOf(value));
}

TEST_F(OrvoDateTimeTest, fieldSettersReturnTheirArgumentAndKeepTheOtherFields) {
    OrvoDateTime value = at("15/3/2009 10:20:30");
    EXPECT_EQ(31, value.setDay(31));
    EXPECT_EQ(12, value.setMonth(12));
    EXPECT_EQ(3000, value.setYear(3000));
    EXPECT_EQ(23, value.setHour(23));
    EXPECT_EQ(59, value.setMinute(59));
    EXPECT_EQ(0, value.setSecond(0));
    EXPECT_EQ("31/12/3000 23:59:0", fieldsOf(value));
}

TEST_F(OrvoDateTimeTest, fieldSettersRefuseWithTheirOwnMessages) {
    OrvoDateTime value = at("31/3/2008 10:20:30");
    const string day = prefix + "Invalid Day : Exceeds 31";
    const string month = prefix + "Invalid Month : Exceeds 12";
    EXPECT_EQ(day, thrownBy([&] { value.setDay(0); }));
    EXPECT_EQ(day, thrownBy([&] { value.setDay(32); }));
    EXPECT_EQ(month, thrownBy([&] { value.setMonth(0); }));
    EXPECT_EQ(month, thrownBy([&] { value.setMonth(13); }));
    EXPECT_EQ(month, thrownBy([&] { value.setHour(24); }));
    EXPECT_EQ(prefix + "Invalid Minute : Exceeds 59", thrownBy([&] { value.setMinute(60); }));
    EXPECT_EQ(prefix + "Invalid Second : Exceeds 59", thrownBy([&] { value.setSecond(60); }));
    EXPECT_EQ(prefix + notADate, thrownBy([&] { value.setMonth(4); }));
    for (const unsigned int year : {0u, 1969u, 3001u, UINT_MAX})
        EXPECT_EQ(prefix + notADate, thrownBy([&] { value.setYear(year); }));
    EXPECT_EQ("31/3/2008 10:20:30", fieldsOf(value));
    value = string("29/2/2008");
    EXPECT_EQ(prefix + notADate, thrownBy([&] { value.setYear(2009); }));
    EXPECT_EQ(prefix + notADate, thrownBy([&] { value.setDay(30); }));
}

TEST_F(OrvoDateTimeTest, arithmeticCarriesThroughAllFields) {
    using D = OrvoDateTime;
    struct Case {
        const char* from;
        D::FieldId_t field;
        int amount;
        const char* to;
    };
    const Case cases[] = {
        {"31/12/2009 23:00:00", D::Day, 1, "1/1/2010 23:0:0"},
        {"1/3/2008", D::Day, -1, "29/2/2008 0:0:0"},
        {"31/1/2009", D::Month, 1, "3/3/2009 0:0:0"},
        {"31/1/2008", D::Month, 1, "2/3/2008 0:0:0"},
        {"15/3/2009", D::Month, 13, "15/4/2010 0:0:0"},
        {"15/3/2009", D::Month, -3, "15/12/2008 0:0:0"},
        {"15/3/2009", D::Month, -15, "15/12/2007 0:0:0"},
        {"29/2/2008", D::Year, 1, "1/3/2009 0:0:0"},
        {"15/3/2009", D::Year, 991, "15/3/3000 0:0:0"},
        {"31/12/1999 23:59:59", D::Second, 1, "1/1/2000 0:0:0"},
        {"1/1/2000", D::Second, -1, "31/12/1999 23:59:59"},
        {"1/1/2000", D::Minute, 1441, "2/1/2000 0:1:0"},
        {"1/1/2000", D::Hour, -25, "30/12/1999 23:0:0"},
        {"1/1/1970 00:00:01", D::Second, INT_MAX, "19/1/2038 3:14:8"},
        {"20/1/2038 00:00:59", D::Second, INT_MAX, "8/2/2106 3:15:6"},
        {"1/1/2500", D::Second, INT_MIN, "13/12/2431 20:45:52"},
        {"15/3/2009 10:20:30", static_cast<D::FieldId_t>(6), 7, "15/3/2009 10:20:30"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.from << " field " << c.field << " by " << c.amount);
        OrvoDateTime sum = at(c.from);
        OrvoDateTime difference = at(c.from);
        EXPECT_EQ(&sum, &sum.add(c.field, static_cast<unsigned int>(c.amount)));
        EXPECT_EQ(&difference, &difference.subtract(c.field, 0u - static_cast<unsigned int>(c.amount)));
        EXPECT_EQ(c.to, fieldsOf(sum));
        EXPECT_EQ(c.to, fieldsOf(difference));
    }
}

TEST_F(OrvoDateTimeTest, theFieldsHaveFixedNumbersAndTheValueAVirtualDestructor) {
    using D = OrvoDateTime;
    const D::FieldId_t fields[] = {D::Month, D::Day, D::Year, D::Hour, D::Minute, D::Second};
    for (int number = 0; number < 6; ++number) EXPECT_EQ(number, fields[number]);
    EXPECT_TRUE(std::has_virtual_destructor<D>::value);
}

TEST_F(OrvoDateTimeTest, anAmountOfNothingThrowsWithoutMessage) {
    OrvoDateTime value = at("15/3/2009");
    EXPECT_EQ(prefix, thrownBy([&] { value.add(OrvoDateTime::Second, 0); }));
    EXPECT_EQ(prefix, thrownBy([&] { value.subtract(OrvoDateTime::Month, 0); }));
}

TEST_F(OrvoDateTimeTest, arithmeticOutOfRangeThrowsTheOddMessageWithTheTailOfItsPosition) {
    using D = OrvoDateTime;
    const string text = prefix + "Subtracting does not compute to a valid Date. Trying to subtract field,";
    const auto added = [](const char* from, D::FieldId_t field, unsigned int amount) {
        OrvoDateTime value = at(from);
        const string thrown = thrownBy([&] { value.add(field, amount); });
        EXPECT_EQ(at(from).getTime(), value.getTime());
        return thrown;
    };
    const char last[] = "31/12/3000 23:59:59";
    EXPECT_EQ(text + "with ", added(last, D::Month, 1));
    EXPECT_EQ(text + "th ", added(last, D::Day, 2));
    EXPECT_EQ(text + "h ", added(last, D::Year, 2));
    EXPECT_EQ(text + " ", added(last, D::Hour, 2));
    EXPECT_EQ(text + " ", added(last, D::Minute, 1));
    EXPECT_EQ(text, added(last, D::Second, 1));
    EXPECT_EQ(text, added(last, D::Year, INT_MAX));
    EXPECT_EQ(text, added(last, D::Month, INT_MAX));
    EXPECT_EQ(text, added(last, D::Day, INT_MAX));
    EXPECT_EQ(text, added(last, D::Minute, INT_MAX));
    OrvoDateTime earliest = at("1/1/1970");
    EXPECT_EQ(text + " with ", thrownBy([&] { earliest.subtract(D::Day, 1); }));
    EXPECT_EQ(text + "h ", thrownBy([&] { earliest.subtract(D::Second, 1); }));
    const char first[] = "1/1/1970";
    EXPECT_EQ(text + " with ", added(first, D::Day, 0u - 1));
    EXPECT_EQ(text + "with ", added(first, D::Year, 0u - 1));
    EXPECT_EQ(text + "th ", added(first, D::Minute, 0u - 1));
    EXPECT_EQ(text, added(first, D::Month, 0u - 1));
    EXPECT_EQ(text, added(first, D::Year, 0x80000000u));
}

TEST_F(OrvoDateTimeTest, comparisonIsByInstantWithTheTwoOddOperators) {
    const OrvoDateTime early = at("15/3/2009 10:20:30");
    const OrvoDateTime same = at("Sun Mar 15 10:20:30 2009");
    const OrvoDateTime late = at("15/3/2009 10:20:31");
    EXPECT_TRUE(early == same);
    EXPECT_FALSE(early == late);
    EXPECT_FALSE(early != same || early != late || late != early);
    EXPECT_TRUE(early < late);
    EXPECT_FALSE(late < early || early < same);
    EXPECT_TRUE(early > late);
    EXPECT_FALSE(late > early || early > same);
    EXPECT_TRUE(early <= same && early <= late);
    EXPECT_FALSE(late <= early);
    EXPECT_TRUE(early >= same && late >= early);
    EXPECT_FALSE(early >= late);
}

TEST_F(OrvoDateTimeTest, dayOfTheYearWeekdayAndLeapYearComeFromTheCalendar) {
    EXPECT_EQ(1u, at("1/1/2009").day());
    EXPECT_EQ(366u, at("31/12/2008").day());
    EXPECT_EQ(0u, at("15/3/2009").getWeekday());
    EXPECT_EQ(6u, at("14/3/2009").getWeekday());
    EXPECT_TRUE(at("31/12/2008").isLeapYear());
    EXPECT_TRUE(at("1/7/2000").isLeapYear());
    EXPECT_FALSE(at("1/7/2009").isLeapYear());
    EXPECT_FALSE(at("1/7/2100").isLeapYear());
}

TEST_F(OrvoDateTimeTest, theHashIsTheFloatingResidue) {
    for (const char* text : {"1/1/1970 00:00:01", "15/3/2009 10:20:30", "31/12/3000 23:59:59"}) {
        const OrvoDateTime value = at(text);
        const double number = static_cast<double>(value.getTime() * 41358 + stampOf(value));
        volatile double quotient = number / 28.0;
        volatile double product = quotient * 28.0;
        EXPECT_EQ(static_cast<unsigned int>(static_cast<long long>(number - product)), value.hash());
    }
}

TEST_F(OrvoDateTimeTest, valuesOfDifferentThreadsAreIndependent) {
    std::thread threads[4];
    string results[4];
    for (int i = 0; i < 4; ++i)
        threads[i] = std::thread([&results, i] {
            OrvoDateTime value;
            value.set(1, 1, 109, 0, 0, 0);
            for (int n = 0; n < 500; ++n) value.add(OrvoDateTime::Hour, static_cast<unsigned int>(i + 1));
            results[i] = fieldsOf(value);
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ("21/1/2009 20:0:0", results[0]);
    EXPECT_EQ("25/3/2009 8:0:0", results[3]);
}
