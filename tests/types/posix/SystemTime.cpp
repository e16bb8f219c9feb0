// Linux half of SystemTime.
#include "types/SystemTime.h"

#include <stdlib.h>
#include <time.h>
#include <unistd.h>

namespace testing_support {

void useZone(const std::string& zone) {
    ::setenv("TZ", zone.c_str(), 1);
    ::tzset();
}

std::vector<std::string> changingZones() {
    std::vector<std::string> zones{"CET-1CEST,M3.5.0,M10.5.0/3", "IST-1GMT0,M10.5.0,M3.5.0/1"};
    for (const char* name : {"Europe/Berlin", "America/New_York", "Australia/Lord_Howe", "Europe/Dublin",
                             "Africa/Casablanca", "Pacific/Apia"})
        if (::access((std::string("/usr/share/zoneinfo/") + name).c_str(), R_OK) == 0) zones.push_back(name);
    return zones;
}

bool systemLocal(long long seconds, std::tm& fields) {
    const time_t instant = seconds;
    return ::localtime_r(&instant, &fields) != nullptr;
}

long long systemInstant(std::tm& fields) { return ::mktime(&fields); }

}  // namespace testing_support
