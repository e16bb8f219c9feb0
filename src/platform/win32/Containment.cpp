// Win32 half of Containment; contract in platform/Containment.h.
#include "platform/Containment.h"

#include <exception>

namespace OrvoSupport::platform {

bool contain(void (*action)(void*), void* argument) {
    try {
        action(argument);
    } catch (...) {
        return false;
    }
    return true;
}

void endProcessOnException(void (*action)(void*), void* argument) {
    try {
        action(argument);
    } catch (...) {
        std::terminate();  // here, where it still says which exception it was
    }
}

}  // namespace OrvoSupport::platform
