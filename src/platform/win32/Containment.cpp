// Win32 half of Containment; contract in platform/Containment.h.
#include "platform/Containment.h"

namespace OrvoSupport::platform {

bool contain(void (*action)(void*), void* argument) {
    try {
        action(argument);
    } catch (...) {
        return false;
    }
    return true;
}

}  // namespace OrvoSupport::platform
