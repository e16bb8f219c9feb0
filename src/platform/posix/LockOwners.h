// Which threads own locks, and whether such a thread is still there. Linux only.
#ifndef OSUPT_PLATFORM_POSIX_LOCK_OWNERS_H
#define OSUPT_PLATFORM_POSIX_LOCK_OWNERS_H

#include <cstdint>

namespace OrvoSupport::platform {

/// Names a thread for as long as the library is loaded; unlike the system's thread ids it is not handed out
/// again. 0 is nobody.
using OwnerId = std::uint32_t;

/// What a thread is called before its first lock. No lock is ever held under this name.
constexpr OwnerId unregistered = 0xFFFFFFFF;

/// The calling thread's name. Initial-exec, because it is read in every lock operation; it is trivial, so
/// that it needs no clean-up that would keep the library in memory.
extern __thread OwnerId ownerIdOfThisThread __attribute__((tls_model("initial-exec")));

/// Gives the calling thread its name.
OwnerId registerThisThread();

/// True when the thread has ended, be it by returning or by any means that runs no code of its own. When
/// that cannot be told, false. Takes some system calls; meant for those who have waited for a while.
bool hasEnded(OwnerId id);

}  // namespace OrvoSupport::platform

#endif
