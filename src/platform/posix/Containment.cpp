// Linux half of Containment; contract in platform/Containment.h.
#include "platform/Containment.h"

#include <cxxabi.h>

#include <exception>

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

void endProcessOnException(void (*action)(void*), void* argument) {
    try {
        action(argument);
    } catch (abi::__forced_unwind&) {
        throw;
    } catch (...) {
        std::terminate();  // here, where it still says which exception it was
    }
}

}  // namespace OrvoSupport::platform
