#include "types/DateTimeText.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace OrvoSupport::datetimetext {
namespace {

const char abbrevMonthNames[12][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

constexpr int unlimited = 1000;
constexpr std::int64_t largest = 2147483647;

bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Walks a text in sscanf()'s steps. The first step that fails ends the scan: the steps after it do nothing.
class Scanner {
public:
    explicit Scanner(const char* text) : m_next(text) {}

    int conversions() const { return m_conversions; }

    /// "%3s"
    Scanner& name(char (&result)[4]) {
        if (!startConversion()) return *this;
        int length = 0;
        while (length < 3 && *m_next && !isBlank(*m_next)) result[length++] = *m_next++;
        result[length] = '\0';
        ++m_conversions;
        return *this;
    }

    /// "%2d", where the sign counts towards the width
    Scanner& number(int width, int& result) {
        if (!startConversion()) return *this;
        const bool negative = *m_next == '-';
        if (negative || *m_next == '+') {
            ++m_next;
            --width;
        }
        m_failed = width == 0 || !isDigit(*m_next);
        if (m_failed) return *this;
        std::int64_t value = 0;
        for (; width > 0 && isDigit(*m_next); --width)
            value = std::min(value * 10 + (*m_next++ - '0'), largest);
        result = static_cast<int>(negative ? -value : value);
        ++m_conversions;
        return *this;
    }

    Scanner& literal(char c) {
        if (m_failed) return *this;
        m_failed = *m_next != c;
        if (!m_failed) ++m_next;
        return *this;
    }

private:
    /// Blanks in front of a conversion are skipped, whether the pattern shows them or not.
    bool startConversion() {
        if (m_failed) return false;
        while (isBlank(*m_next)) ++m_next;
        m_failed = *m_next == '\0';
        return !m_failed;
    }

    const char* m_next;
    int m_conversions = 0;
    bool m_failed = false;
};

}  // namespace

int monthOfName(const char* name) {
    for (int month = 0; month < 12; ++month)
        if (std::strcmp(name, abbrevMonthNames[month]) == 0) return month;
    return 0;
}

int scanRfc1123(const char* text, std::tm& fields) {
    char weekday[4];
    char month[4] = "";
    char zone[4];
    int year = 0;
    fields = std::tm{};
    Scanner scanner(text);
    scanner.name(weekday).number(2, fields.tm_mday).name(month).number(4, year);
    scanner.number(2, fields.tm_hour).literal(':').number(2, fields.tm_min).literal(':');
    scanner.number(2, fields.tm_sec).name(zone);
    fields.tm_mon = monthOfName(month);
    fields.tm_year = year - 1900;
    fields.tm_isdst = -1;
    return scanner.conversions();
}

int scanNumeric(const char* text, std::tm& fields) {
    int month = 0;
    int year = 0;
    fields = std::tm{};
    Scanner scanner(text);
    scanner.number(unlimited, fields.tm_mday).literal('/').number(unlimited, month).literal('/');
    scanner.number(unlimited, year).number(unlimited, fields.tm_hour).literal(':');
    scanner.number(unlimited, fields.tm_min).literal(':').number(unlimited, fields.tm_sec);
    fields.tm_mon = std::max(month, -1000000) - 1;
    fields.tm_year = std::max(year, -1000000) - 1900;
    fields.tm_isdst = -1;
    return scanner.conversions();
}

int scanText(const char* text, std::tm& fields) {
    char weekday[4];
    char month[4] = "";
    int year = 0;
    fields = std::tm{};
    Scanner scanner(text);
    scanner.name(weekday).name(month).number(2, fields.tm_mday).number(2, fields.tm_hour).literal(':');
    scanner.number(2, fields.tm_min).literal(':').number(2, fields.tm_sec).number(4, year);
    fields.tm_mon = monthOfName(month);
    fields.tm_year = year - 1900;
    fields.tm_isdst = -1;
    return scanner.conversions();
}

}  // namespace OrvoSupport::datetimetext
