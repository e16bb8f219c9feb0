// Keeping exceptions of a host's code from going further.
#ifndef OSUPT_PLATFORM_CONTAINMENT_H
#define OSUPT_PLATFORM_CONTAINMENT_H

#include <type_traits>

namespace OrvoSupport::platform {

/// Calls action(argument). False when an exception came out of it, which is gone then. The unwinding by which
/// a system's C library cancels a thread is no exception and passes through.
bool contain(void (*action)(void*), void* argument);

/// The same for anything that can be called without arguments.
template <class Action>
bool contain(Action&& action) {
    return contain([](void* call) { (*static_cast<std::remove_reference_t<Action>*>(call))(); }, &action);
}

/// Calls action(argument). An exception that comes out of it ends the process; the unwinding of cancellation
/// passes through.
void endProcessOnException(void (*action)(void*), void* argument);

template <class Action>
void endProcessOnException(Action&& action) {
    endProcessOnException([](void* call) { (*static_cast<std::remove_reference_t<Action>*>(call))(); },
                          &action);
}

}  // namespace OrvoSupport::platform

#endif
