#include "logging/RecordPrefix.h"

#include <charconv>

#include "OrvoDateTime.h"

namespace OrvoSupport {
namespace {

constexpr std::size_t longestPrefix = 511;
constexpr std::size_t areaWidth = 10;

// Every record has ten numbers in its prefix; printf would take as long for them as all the rest together.
void appendNumber(std::string& line, int value) {
    char digits[16];
    line.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

void appendTwoDigits(std::string& line, unsigned int value) {
    line += static_cast<char>('0' + value / 10);
    line += static_cast<char>('0' + value % 10);
}

}  // namespace

void setRecordPrefix(std::string& line, const OrvoDateTime& time, int level, const std::string& area,
                     int thread) {
    line.clear();
    appendTwoDigits(line, time.getYear() / 100);
    appendTwoDigits(line, time.getYear() % 100);
    appendTwoDigits(line, time.getMonth());
    appendTwoDigits(line, time.getDay());
    line += '_';
    appendTwoDigits(line, time.getHour());
    line += ':';
    appendTwoDigits(line, time.getMinute());
    line += ':';
    appendTwoDigits(line, time.getSecond());
    line += ' ';
    appendNumber(line, level);
    line += ' ';

    const std::size_t areaStart = line.size();
    line += area.c_str();  // up to a NUL, as "%s"
    if (line.size() < areaStart + areaWidth) line.resize(areaStart + areaWidth, ' ');
    line += " [";
    appendNumber(line, thread);
    line += "] ";
    if (line.size() > longestPrefix) line.resize(longestPrefix);
}

}  // namespace OrvoSupport
