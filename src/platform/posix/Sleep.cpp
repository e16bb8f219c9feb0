// Linux half of Sleep; contract in platform/Sleep.h.
#include "platform/Sleep.h"

#include <errno.h>
#include <time.h>

namespace OrvoSupport::platform {

void sleepFor(int milliseconds) {
    timespec left = {milliseconds / 1000, milliseconds % 1000 * 1000000L};
    while (::clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
    }
}

}  // namespace OrvoSupport::platform
