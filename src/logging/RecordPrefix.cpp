#include "logging/RecordPrefix.h"

#include <charconv>

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

void setRecordPrefix(std::string& line, const OrvoDateTime& time, int level, const std::string& area,
                     int thread) {
    char text[40];
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
    line.assign(text, end);

    const std::size_t areaStart = line.size();
    line += area.c_str();  // up to a NUL, as "%s"
    if (line.size() < areaStart + areaWidth) line.resize(areaStart + areaWidth, ' ');

    end = text;
    *end++ = ' ';
    *end++ = '[';
    end = putNumber(end, thread);
    *end++ = ']';
    *end++ = ' ';
    line.append(text, end);
    if (line.size() > longestPrefix) line.resize(longestPrefix);
}

}  // namespace OrvoSupport
