// When a thread of the library may be neither stopped nor killed.
#ifndef OSUPT_PLATFORM_WIN32_UNINTERRUPTED_H
#define OSUPT_PLATFORM_WIN32_UNINTERRUPTED_H

#include <atomic>

namespace OrvoSupport::platform {

/// How many locks of the library's own the calling thread holds or is about to take; it is neither stopped
/// nor killed as long as that is not 0. Null for threads that the library did not start. Keeps the thread's
/// last error.
std::atomic<int>* internalLocksOfThisThread() noexcept;

}  // namespace OrvoSupport::platform

#endif
