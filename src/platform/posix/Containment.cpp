// Linux half of Containment; contract in platform/Containment.h.
#include "platform/Containment.h"

#include <cxxabi.h>

namespace OrvoSupport::platform {

bool contain(void (*action)(void*), void* argument) {
    try {
        action(argument);
    } catch (abi::__forced_unwind&) {
        throw;  // cancellation; the C library ends the process when it is stopped
    } catch (...) {
        return false;
    }
    return true;
}

}  // namespace OrvoSupport::platform
