// Which threads own locks, and whether such a thread is still there. Linux only.
#ifndef OSUPT_PLATFORM_POSIX_LOCK_OWNERS_H
#define OSUPT_PLATFORM_POSIX_LOCK_OWNERS_H

#include <cstdint>

namespace OrvoSupport::platform {

/// Names a thread for as long as the library is loaded; unlike the system's thread ids it is not handed out
/// again. Never 0.
using OwnerId = std::uint32_t;

/// 0 until the thread's first lock. Initial-exec, because it is read in every lock operation; it is trivial,
/// so that it needs no clean-up that would keep the library in memory.
extern __thread OwnerId ownerIdOfThisThread __attribute__((tls_model("initial-exec")));

OwnerId registerThisThread();

inline OwnerId thisThread() {
    const OwnerId id = ownerIdOfThisThread;
    return __builtin_expect(id != 0, 1) ? id : registerThisThread();
}

/// True when the thread has ended, be it by returning or by any means that runs no code of its own. When
/// that cannot be told, false. Takes some system calls; meant for those who have waited for a while.
bool hasEnded(OwnerId id);

}  // namespace OrvoSupport::platform

#endif
