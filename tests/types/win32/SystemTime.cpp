// Win32 half of SystemTime.
#include "types/SystemTime.h"

#include <stdlib.h>
#include <time.h>

namespace testing_support {

void useZone(const std::string& zone) {
    ::_putenv(("TZ=" + zone).c_str());
    ::_tzset();
}

std::vector<std::string> changingZones() { return {"CET-1CEST", "EST5EDT", "PST8PDT", "AES-10AED"}; }

bool systemLocal(long long seconds, std::tm& fields) {
    const __time64_t instant = seconds;
    const std::tm* local = ::_localtime64(&instant);
    if (local) fields = *local;
    return local != nullptr;
}

long long systemInstant(std::tm& fields) { return ::_mktime64(&fields); }

}  // namespace testing_support
