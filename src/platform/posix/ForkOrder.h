// The order in which the library's parts are told of a fork. Linux only.
#ifndef OSUPT_PLATFORM_POSIX_FORK_ORDER_H
#define OSUPT_PLATFORM_POSIX_FORK_ORDER_H

namespace OrvoSupport::platform {

/// The priority of the constructors that register the fork handlers of locks under which no other lock is
/// taken. Before a fork the handlers registered first are called last: other parts of the library hold locks
/// of their own while they take these. In the child they are called first, so that these locks work there for
/// the handlers of the others.
constexpr int innermostLocks = 200;

}  // namespace OrvoSupport::platform

#endif
