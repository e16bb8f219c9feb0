// Date and time from text: the first byte picks the time zone, the rest is the text.
#include <OrvoDateTime.h>

#include <cstdlib>
#include <cstring>
#include <ctime>

#include "Fuzz.h"

using namespace OrvoSupport;

namespace {

const char* const monthNames[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

void useZone(unsigned number) {
    static const char* const zones[] = {"UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT,M3.2.0,M11.1.0",
                                        "XYZ-14"};
    static const char* used = nullptr;
    const char* const zone = zones[number % 4];
    if (zone == used) return;
    used = zone;
    ::setenv("TZ", zone, 1);
    ::tzset();
}

bool sameFields(const OrvoDateTime& a, const OrvoDateTime& b) {
    return a.getDay() == b.getDay() && a.getMonth() == b.getMonth() && a.getYear() == b.getYear() &&
           a.getHour() == b.getHour() && a.getMinute() == b.getMinute() && a.getSecond() == b.getSecond();
}

bool sameFields(const std::tm& a, const std::tm& b) {
    return a.tm_mday == b.tm_mday && a.tm_mon == b.tm_mon && a.tm_year == b.tm_year &&
           a.tm_hour == b.tm_hour && a.tm_min == b.tm_min && a.tm_sec == b.tm_sec;
}

void requireReads(const std::string& text, const OrvoDateTime& expected) {
    OrvoDateTime value;
    std::string message;
    REQUIRE(value.setDateTimeFromStrImpl(text, message));
    REQUIRE(sameFields(value, expected));
}

void checkAccepted(const OrvoDateTime& value) {
    REQUIRE(value.getYear() >= 1969 && value.getYear() <= 3001);
    REQUIRE(value.getMonth() >= 1 && value.getMonth() <= 12 && value.getDay() >= 1 && value.getDay() <= 31);
    REQUIRE(value.getHour() <= 23 && value.getMinute() <= 59 && value.getSecond() <= 59);
    REQUIRE(value.getTime() >= 0);

    char text[80];
    std::snprintf(text, sizeof text, "%02u/%02u/%04u %02u:%02u:%02u", value.getDay(), value.getMonth(),
                  value.getYear(), value.getHour(), value.getMinute(), value.getSecond());
    requireReads(text, value);
    const char* const month = monthNames[value.getMonth() - 1];
    std::snprintf(text, sizeof text, "Day %s %02u %02u:%02u:%02u %04u", month, value.getDay(),
                  value.getHour(), value.getMinute(), value.getSecond(), value.getYear());
    requireReads(text, value);
    std::snprintf(text, sizeof text, "Day %02u %s %04u %02u:%02u:%02u GMT,", value.getDay(), month,
                  value.getYear(), value.getHour(), value.getMinute(), value.getSecond());
    requireReads(text, value);
}

int monthOf(const char* name) {
    for (int i = 0; i < 12; ++i)
        if (std::strcmp(name, monthNames[i]) == 0) return i;
    return 0;
}

/// As sscanf() reads the two forms without a comma; false for texts whose numbers it cannot be trusted with.
bool scan(const std::string& text, std::tm& fields, bool& complete) {
    int run = 0;
    for (const char c : text) {
        run = c >= '0' && c <= '9' ? run + 1 : 0;
        if (run > 8) return false;
    }
    char weekday[4], month[4] = "";
    int monthNumber = 0, year = 0;
    fields = std::tm{};
    if (text.find('/') != std::string::npos) {
        complete =
            text.size() <= 19 && std::sscanf(text.c_str(), "%d/%d/%d %d:%d:%d", &fields.tm_mday, &monthNumber,
                                             &year, &fields.tm_hour, &fields.tm_min, &fields.tm_sec) >= 3;
        fields.tm_mon = monthNumber - 1;
    } else {
        complete = text.size() <= 25 &&
                   std::sscanf(text.c_str(), "%3s %3s %2d %2d:%2d:%2d %4d", weekday, month, &fields.tm_mday,
                               &fields.tm_hour, &fields.tm_min, &fields.tm_sec, &year) == 7;
        fields.tm_mon = monthOf(month);
    }
    fields.tm_year = year - 1900;
    return true;
}

/// Whether the time exists: in the calendar, and on the clocks of the zone.
bool exists(const std::tm& fields) {
    std::tm inCalendar = fields;
    ::timegm(&inCalendar);
    std::tm onClocks = fields;
    onClocks.tm_isdst = -1;
    std::mktime(&onClocks);
    return sameFields(inCalendar, fields) && sameFields(onClocks, fields);
}

void checkAgainstTheSystem(const std::string& text, bool accepted, const OrvoDateTime& value) {
    std::tm fields;
    bool complete = false;
    if (text.find(',') != std::string::npos || !scan(text, fields, complete)) return;
    if (!complete) {
        REQUIRE(!accepted);
        return;
    }
    const int year = fields.tm_year + 1900;
    if (year < 1971 || year > 2999) {
        REQUIRE(!accepted || (year >= 1969 && year <= 3001));
        return;
    }
    REQUIRE(accepted == exists(fields));
    if (!accepted) return;
    REQUIRE(value.getDay() == static_cast<unsigned>(fields.tm_mday));
    REQUIRE(value.getMonth() == static_cast<unsigned>(fields.tm_mon + 1));
    REQUIRE(value.getYear() == static_cast<unsigned>(year));
    REQUIRE(value.getHour() == static_cast<unsigned>(fields.tm_hour));
    REQUIRE(value.getMinute() == static_cast<unsigned>(fields.tm_min));
    REQUIRE(value.getSecond() == static_cast<unsigned>(fields.tm_sec));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    useZone(input.byte());
    const std::string text = input.rest();

    OrvoDateTime value;
    requireReads("1/2/2003 4:05:06", value = std::string("1/2/2003 4:05:06"));
    const OrvoDateTime before(value);
    std::string message;
    const bool accepted = value.setDateTimeFromStrImpl(text, message);
    if (accepted) {
        checkAccepted(value);
    } else {
        REQUIRE(sameFields(value, before));
        REQUIRE(!message.empty());
        try {
            value = text;
            REQUIRE(false);
        } catch (const OrvoInvalidDateException& exception) {
            REQUIRE(exception.getText() == "OrvoInvalidDateException - " + message);
        }
        REQUIRE(sameFields(value, before));
    }
    checkAgainstTheSystem(text, accepted, value);
    return 0;
}
