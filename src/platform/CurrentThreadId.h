// The number by which the system knows the calling thread.
#ifndef PLATFORM_CURRENT_THREAD_ID_H
#define PLATFORM_CURRENT_THREAD_ID_H

namespace OrvoSupport::platform {

/// Costs no system call but the first time on a thread. Right in a forked child too.
///
/// Thread safety: any thread.
int currentThreadId();

}  // namespace OrvoSupport::platform

#endif
