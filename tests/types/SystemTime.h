// The system's own conversions, which the library is compared with.
#ifndef TESTS_TYPES_SYSTEM_TIME_H
#define TESTS_TYPES_SYSTEM_TIME_H

#include <ctime>
#include <string>
#include <vector>

namespace testing_support {

/// Puts this process into a time zone, written as the system's TZ variable has it. "UTC0" works everywhere.
void useZone(const std::string& zone);

/// Zones that change their clocks, as many kinds as the system can be given.
std::vector<std::string> changingZones();

bool systemLocal(long long seconds, std::tm& fields);
/// -1 for what the system cannot represent.
long long systemInstant(std::tm& fields);

/// The years 1970 to 3000, local time, not before 1970 UTC.
inline bool inRange(long long seconds, const std::tm& fields) {
    return seconds >= 0 && fields.tm_year >= 70 && fields.tm_year <= 1100;
}

}  // namespace testing_support

#endif
