// Linux half of Fork; contract in platform/Fork.h.
#include "platform/Fork.h"

#include <pthread.h>

namespace OrvoSupport::platform {

bool callAroundFork(void (*before)(), void (*inParent)(), void (*inChild)()) noexcept {
    return ::pthread_atfork(before, inParent, inChild) == 0;
}

}  // namespace OrvoSupport::platform
