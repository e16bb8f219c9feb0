// The priority of one thread. Linux only.
#ifndef OSUPT_PLATFORM_POSIX_THREAD_PRIORITY_H
#define OSUPT_PLATFORM_POSIX_THREAD_PRIORITY_H

#include <sched.h>
#include <sys/types.h>

namespace OrvoSupport::platform {

/// Maps the levels of SetThreadPriority() onto what any process may set: the nice value, which belongs to a
/// single thread here, and for the idle level the scheduling policy of that name. Normal is what the thread
/// had before its priority was set for the first time.
///
/// Thread safety: none.
class ThreadPriority {
public:
    /// False when the system refuses.
    bool set(pid_t thread, int level) noexcept;

private:
    bool m_known = false;
    int m_policy = SCHED_OTHER;  // the normal ones
    sched_param m_parameters = {};
    int m_nice = 0;
};

}  // namespace OrvoSupport::platform

#endif
