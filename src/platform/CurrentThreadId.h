// The number by which the system knows the calling thread.
#ifndef OSUPT_PLATFORM_CURRENT_THREAD_ID_H
#define OSUPT_PLATFORM_CURRENT_THREAD_ID_H

namespace OrvoSupport::platform {

/// Costs no system call but the first time on a thread. Right in a forked child too.
///
/// Thread safety: any thread.
int currentThreadId();

}  // namespace OrvoSupport::platform

#endif
