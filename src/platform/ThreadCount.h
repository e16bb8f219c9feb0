// Whether the process has more than one thread.
#ifndef OSUPT_PLATFORM_THREAD_COUNT_H
#define OSUPT_PLATFORM_THREAD_COUNT_H

namespace OrvoSupport::platform {

/// True only when the calling thread is the only one, so that nobody can watch it change memory. False where
/// the system does not tell.
bool isOnlyThread() noexcept;

}  // namespace OrvoSupport::platform

#endif
