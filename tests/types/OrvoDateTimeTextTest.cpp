// The text forms of OrvoDateTime: reading and printing.
#include <gmock/gmock.h>

#include <random>

#include "OrvoDateTime.h"
#include "OrvoStringUtilities.h"
#include "types/DateTimeText.h"
#include "types/SystemTime.h"

using namespace OrvoSupport;

namespace {

class OrvoDateTimeTextTest : public testing::Test {
protected:
    OrvoDateTimeTextTest() { testing_support::useZone("UTC0"); }
};

/// The fields a text gives, or the reason it is refused.
string readingOf(const string& text) {
    OrvoDateTime value;
    try {
        value = text;
    } catch (const OrvoInvalidDateException& e) {
        return e.getText();
    }
    char fields[80];
    std::snprintf(fields, sizeof fields, "%u/%u/%u %u:%u:%u", value.getDay(), value.getMonth(),
                  value.getYear(), value.getHour(), value.getMinute(), value.getSecond());
    return fields;
}

struct Case {
    const char* text;
    const char* reading;
};

const char rfcFormat[] = "OrvoInvalidDateException - Incorrect RFC1123 DateTime format";
const char format[] = "OrvoInvalidDateException - Incorrect DateTime format";
const char notADate[] = "OrvoInvalidDateException - Input does not compute to a valid DateTime object";

void expectReadings(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(c.reading, readingOf(c.text));
    }
}

// What the scans are defined by.
int rfcBySscanf(const char* text, std::tm& f) {
    char weekday[4], month[4] = "", zone[4];
    int year = 0;
    f = std::tm{};
    const int count = std::sscanf(text, "%3s %2d %3s %4d %2d:%2d:%2d %3s", weekday, &f.tm_mday, month, &year,
                                  &f.tm_hour, &f.tm_min, &f.tm_sec, zone);
    f.tm_year = year - 1900;
    f.tm_mon = datetimetext::monthOfName(month);
    return std::max(count, 0);
}

int numericBySscanf(const char* text, std::tm& f) {
    int month = 0, year = 0;
    f = std::tm{};
    const int count =
        std::sscanf(text, "%d/%d/%d %d:%d:%d", &f.tm_mday, &month, &year, &f.tm_hour, &f.tm_min, &f.tm_sec);
    f.tm_year = year - 1900;
    f.tm_mon = month - 1;
    return std::max(count, 0);
}

int textBySscanf(const char* text, std::tm& f) {
    char weekday[4], month[4] = "";
    int year = 0;
    f = std::tm{};
    const int count = std::sscanf(text, "%3s %3s %2d %2d:%2d:%2d %4d", weekday, month, &f.tm_mday, &f.tm_hour,
                                  &f.tm_min, &f.tm_sec, &year);
    f.tm_year = year - 1900;
    f.tm_mon = datetimetext::monthOfName(month);
    return std::max(count, 0);
}

using Scan = int (*)(const char*, std::tm&);

void expectSameScan(const string& text, Scan ours, Scan reference) {
    std::tm a{};
    std::tm b{};
    ASSERT_EQ(reference(text.c_str(), b), ours(text.c_str(), a)) << '"' << text << '"';
    const bool same = a.tm_mday == b.tm_mday && a.tm_mon == b.tm_mon && a.tm_year == b.tm_year &&
                      a.tm_hour == b.tm_hour && a.tm_min == b.tm_min && a.tm_sec == b.tm_sec;
    ASSERT_TRUE(same) << '"' << text << '"';
}

/// What sscanf() makes of a number that fits no int is its own affair.
bool numbersFit(const string& text) {
    std::size_t digits = 0;
    for (const char c : text) {
        digits = c >= '0' && c <= '9' ? digits + 1 : 0;
        if (digits > 9) return false;
    }
    return true;
}

/// Texts near a good one: characters replaced, removed and inserted.
template <class Random>
string damaged(string text, Random& random) {
    static const char characters[] = "0123456789 :/,-+ \t\nabJN.0x";
    const auto below = [&](std::size_t limit) { return random() % limit; };
    for (std::size_t n = below(4); n > 0; --n) {
        const std::size_t place = below(text.size());
        const char c = characters[below(sizeof characters - 1)];
        switch (below(3)) {
            case 0: text[place] = c; break;
            case 1: text.insert(place, 1, c); break;
            default:
                if (text.size() > 1) text.erase(place, 1);
        }
    }
    return text;
}

}  // namespace

TEST_F(OrvoDateTimeTextTest, numericTextIsDayMonthYearAndAsMuchTimeAsThereIs) {
    expectReadings({{"15/3/2009 10:20:30", "15/3/2009 10:20:30"},
                    {"15/3/2009", "15/3/2009 0:0:0"},
                    {"15/3/2009 10", "15/3/2009 10:0:0"},
                    {"15/3/2009 10:20", "15/3/2009 10:20:0"},
                    {"15/3/2009 10:20:xx", "15/3/2009 10:20:0"},
                    {"15/3/2009 noon", "15/3/2009 0:0:0"},
                    {" 15/ 3/\t2009", "15/3/2009 0:0:0"},
                    {"+15/+3/2009", "15/3/2009 0:0:0"},
                    {"015/003/02009", "15/3/2009 0:0:0"},
                    {"31/12/3000 23:59:59", "31/12/3000 23:59:59"}});
}

TEST_F(OrvoDateTimeTextTest, numericTextIsCheckedStrictly) {
    expectReadings({{"31/4/2009", notADate},
                    {"29/2/2009", notADate},
                    {"15/13/2009", notADate},
                    {"0/3/2009", notADate},
                    {"15/3/2009 24:00:00", notADate},
                    {"15/3/2009 -1:00:00", notADate},
                    {"15/3/09", notADate},
                    {"31/12/1969", notADate},
                    {"1/1/3001", notADate},
                    {"4294967311/3/2009", notADate},
                    {"1/-99999999999/1", notADate},
                    {"1/2", format},
                    {"/", format},
                    {"15 /3/2009", format},
                    {"a/b/c", format},
                    {"15/3/2009 10:20:300", notADate}});
}

TEST_F(OrvoDateTimeTextTest, aLongNumericTextIsRefusedInTheWordsOfTheOtherForm) {
    EXPECT_EQ("15/3/2009 10:20:3", readingOf("15/03/2009 10:20:3 "));
    EXPECT_EQ(rfcFormat, readingOf("15/03/2009 10:20:30 "));
}

TEST_F(OrvoDateTimeTextTest, textFormIsReadWithoutItsWeekday) {
    expectReadings({{"Sun Mar 15 10:20:30 2009", "15/3/2009 10:20:30"},
                    {"Wed Jan 02 02:03:55 1980", "2/1/1980 2:3:55"},
                    {"xxx Dec 31 23:59:59 3000", "31/12/3000 23:59:59"},
                    {"Sun mar 15 10:20:30 2009", "15/1/2009 10:20:30"},
                    {"Sun Marz15 10:20:30 2009", format},
                    {"SunMar15 10:20:30 2009", "15/3/2009 10:20:30"},
                    {"Sun Mar 15 10:20:30  2009", "15/3/2009 10:20:30"},
                    {"Sun Mar 15 10:20:30  20091", format},
                    {"Sun Mar 15 10:20:30 20091", "15/3/2009 10:20:30"},
                    {"Sun Mar 15 10:20:30", format},
                    {"Sun Mar 15 10:20 2009", format},
                    {"Sun Apr 31 10:20:30 2009", notADate},
                    {"Sun Feb 29 10:20:30 2009", notADate},
                    {"", format},
                    {"   ", format},
                    {"today", format}});
}

TEST_F(OrvoDateTimeTextTest, twentySixCharactersWithoutCommaOrSlashAreTooMany) {
    EXPECT_EQ("15/3/2009 10:20:30", readingOf("Sun Mar 15 10:20:30 2009 "));
    EXPECT_EQ(format, readingOf("Sun Mar 15 10:20:30 2009  "));
}

TEST_F(OrvoDateTimeTextTest, aCommaAnywhereMakesItTheRfcForm) {
    expectReadings({{"Sun 15 Mar 2009 10:20:30 GMT,", "15/3/2009 10:20:30"},
                    {"Sun 15 Mar 2009 10:20:30 PST,", "15/3/2009 10:20:30"},
                    {"Sun 15 Mar 2009 10:20:30 ,", "15/3/2009 10:20:30"},
                    {"Su, 15 Mar 2009 10:20:30 GMT", "15/3/2009 10:20:30"},
                    {"Thu, 01 Jan 2009 10:00:00 GMT", rfcFormat},
                    {"Sun 15 Mar 2009 10:20:30,", "15/3/2009 10:20:30"},
                    {"15/3/2009,", rfcFormat},
                    {"Sun Mar 15 10:20:30 2009,", rfcFormat},
                    {",", rfcFormat},
                    {"Sun 15 Mar 2009 10:20:30 GMT, ", rfcFormat}});
}

TEST_F(OrvoDateTimeTextTest, theRfcFormRollsOverButStaysInRange) {
    expectReadings({{"Sun 31 Apr 2009 10:20:30 GMT,", "1/5/2009 10:20:30"},
                    {"Sun 15 Mar 2009 24:00:60 GMT,", "16/3/2009 0:1:0"},
                    {"Sun -1 Mar 2009 10:20:30 GMT,", "27/2/2009 10:20:30"},
                    {"Sun 15 xyz 2009 10:20:30 GMT,", "15/1/2009 10:20:30"},
                    {"Sun 31 Dec 1969 10:20:30 GMT,", notADate},
                    {"Sun 01 Jan 3001 10:20:30 GMT,", notADate},
                    {"Sun 31 Dec 3000 24:00:00 GMT,", notADate},
                    {"Sun 32 Dec 1969 00:00:00 GMT,", "1/1/1970 0:0:0"}});
}

TEST_F(OrvoDateTimeTextTest, theTwinThatDoesNotThrowGivesTheSameReasons) {
    OrvoDateTime value;
    string message;
    EXPECT_FALSE(value.setDateTimeFromStrImpl("Sun 01 Jan 3001 10:20:30 GMT,", message));
    EXPECT_EQ("Input does not compute to a valid DateTime object", message);
    EXPECT_FALSE(value.setDateTimeFromStrImpl(string("1/2/3\0,", 7), message));
    EXPECT_EQ("Incorrect RFC1123 DateTime format", message);
    EXPECT_FALSE(value.setDateTimeFromStrImpl(string("\0/", 2), message));
    EXPECT_EQ("Incorrect DateTime format", message);
}

TEST_F(OrvoDateTimeTextTest, everyMonthIsKnownByItsShortName) {
    const char* names[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                           "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (int month = 0; month < 12; ++month) EXPECT_EQ(month, datetimetext::monthOfName(names[month]));
    for (const char* unknown : {"", "jan", "FEB", "Ma", "xyz"})
        EXPECT_EQ(0, datetimetext::monthOfName(unknown));
}

TEST_F(OrvoDateTimeTextTest, scanningIsWhatSscanfDoes) {
    std::mt19937 random(42);
    for (int n = 0; n < 20000 && !HasFatalFailure(); ++n) {
        expectSameScan(damaged("Sun 15 Mar 2009 10:20:30 GMT,", random), datetimetext::scanRfc1123,
                       rfcBySscanf);
        const string numeric = damaged("15/3/2009 10:20:30", random);
        if (numbersFit(numeric)) expectSameScan(numeric, datetimetext::scanNumeric, numericBySscanf);
        expectSameScan(damaged("Wed Jan 02 02:03:55 1980", random), datetimetext::scanText, textBySscanf);
    }
}

TEST_F(OrvoDateTimeTextTest, printingUsesTheLocaleWithTimeAndDateSwapped) {
    OrvoDateTime value;
    value = string("15/3/2009 10:20:30");
    const std::locale classic = std::locale::classic();
    EXPECT_EQ(L"10:20:30", value.dateToString(classic));
    EXPECT_EQ(L"03/15/09", value.timeToString(classic));
    EXPECT_EQ(L"Sunday", value.weekdayName(classic));
    EXPECT_EQ(L"March", value.monthName(classic));
    value.set(classic);
    EXPECT_EQ(value.dateToString(classic), value.dateToString());
    EXPECT_EQ(value.timeToString(classic), value.timeToString());
    EXPECT_EQ(value.weekdayName(classic), value.weekdayName());
    EXPECT_EQ(value.monthName(classic), value.monthName());
    EXPECT_EQ(value.toString(classic), value.toString());
    EXPECT_THAT(value.toString(), testing::HasSubstr(L"10:20:30"));
}

TEST_F(OrvoDateTimeTextTest, utcIsPrintedInUtc) {
    testing_support::useZone("ZZZ-2");
    OrvoDateTime value;
    value = string("1/1/2010 01:20:30");
    const std::wstring utc = value.toGMTString();
    testing_support::useZone("UTC0");
    value = string("31/12/2009 23:20:30");
    EXPECT_EQ(value.toString(), utc);
}

TEST_F(OrvoDateTimeTextTest, printingWorksWithTheLibrarysConversionFacets) {
    OrvoDateTime value;
    value = string("15/3/2009 10:20:30");
    EXPECT_EQ(L"Sunday", value.weekdayName(std::locale(std::locale::classic(), new ansi_ctype)));
    EXPECT_EQ(L"10:20:30", value.dateToString(std::locale(std::locale::classic(), new utf8_ctype)));
}

namespace {

/// Prints only the conversion it is asked for.
class Conversions : public std::time_put<wchar_t> {
    iter_type do_put(iter_type out, std::ios_base&, wchar_t, const std::tm* fields, char c,
                     char) const override {
        for (const char digit : c + std::to_string(fields->tm_hour)) *out++ = static_cast<wchar_t>(digit);
        return out;
    }
};

}  // namespace

TEST_F(OrvoDateTimeTextTest, everyPrintingFunctionHasItsOwnConversion) {
    testing_support::useZone("EET-2");
    const std::locale locale(std::locale::classic(), new Conversions);
    OrvoDateTime value;
    value = string("15/3/2009 10:20:30");
    EXPECT_EQ(L"c10", value.toString(locale));
    EXPECT_EQ(L"X10", value.dateToString(locale));
    EXPECT_EQ(L"x10", value.timeToString(locale));
    EXPECT_EQ(L"A10", value.weekdayName(locale));
    EXPECT_EQ(L"B10", value.monthName(locale));
    value.set(locale);
    EXPECT_EQ(L"c8", value.toGMTString());
    testing_support::useZone("UTC0");
}

TEST_F(OrvoDateTimeTextTest, aLaterGlobalLocaleReachesCopiesButNotNewValues) {
    const OrvoDateTime before;
    const std::locale old = std::locale::global(std::locale(std::locale::classic(), new Conversions));
    const OrvoDateTime created;
    OrvoDateTime copy(before);
    std::locale::global(old);
    EXPECT_EQ(L'X', copy.dateToString().front());
    EXPECT_NE(L'X', created.dateToString().front());
    EXPECT_NE(L'X', before.dateToString().front());
    copy = created;
    EXPECT_EQ(L'X', copy.dateToString().front());
}
