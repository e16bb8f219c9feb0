#include "logging/RecordPrefix.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "OrvoDateTime.h"

namespace OrvoSupport {
namespace {

constexpr std::size_t longestPrefix = 511;
constexpr std::size_t areaWidth = 10;

// Every record has eight numbers in its prefix; printf would take as long for them as all the rest together.
char* putNumber(char* to, int value) { return std::to_chars(to, to + 12, value).ptr; }

char* putTwoDigits(char* to, unsigned int value) {
    *to++ = static_cast<char>('0' + value / 10);
    *to++ = static_cast<char>('0' + value % 10);
    return to;
}

char* putTwoDigits(char* to, char before, unsigned int value) {
    *to++ = before;
    return putTwoDigits(to, value);
}

}  // namespace

void setRecordPrefix(std::string& line, const OrvoDateTime& time, int level, const char* area, int thread) {
    char text[longestPrefix + 64];
    char* end = putTwoDigits(text, time.getYear() / 100);
    end = putTwoDigits(end, time.getYear() % 100);
    end = putTwoDigits(end, time.getMonth());
    end = putTwoDigits(end, time.getDay());
    end = putTwoDigits(end, '_', time.getHour());
    end = putTwoDigits(end, ':', time.getMinute());
    end = putTwoDigits(end, ':', time.getSecond());
    *end++ = ' ';
    end = putNumber(end, level);
    *end++ = ' ';

    const std::size_t areaLength = std::min(std::strlen(area), longestPrefix);
    end = std::copy_n(area, areaLength, end);
    if (areaLength < areaWidth) end = std::fill_n(end, areaWidth - areaLength, ' ');

    *end++ = ' ';
    *end++ = '[';
    end = putNumber(end, thread);
    *end++ = ']';
    *end++ = ' ';
    line.assign(text, std::min(static_cast<std::size_t>(end - text), longestPrefix));
}

}  // namespace OrvoSupport
