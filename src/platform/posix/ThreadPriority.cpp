#include "platform/posix/ThreadPriority.h"

#include <sys/resource.h>

#include <algorithm>

namespace OrvoSupport::platform {
namespace {

constexpr int idle = -15;
constexpr int timeCritical = 15;
constexpr int bestNice = -20;
constexpr int worstNice = 19;
constexpr int nicePerLevel = -5;

int niceOf(int level, int normal) {
    if (level == timeCritical) return bestNice;
    return std::clamp(normal + level * nicePerLevel, bestNice, worstNice);
}

id_t idOf(pid_t thread) { return static_cast<id_t>(thread); }

}  // namespace

bool ThreadPriority::set(pid_t thread, int level) noexcept {
    if (!m_known) {
        m_policy = std::max(::sched_getscheduler(thread), 0);
        ::sched_getparam(thread, &m_parameters);
        m_nice = ::getpriority(PRIO_PROCESS, idOf(thread));
        m_known = true;
    }
    if (level == idle) {
        const sched_param none = {};
        return ::sched_setscheduler(thread, SCHED_IDLE, &none) == 0;
    }
    const bool wasIdle = ::sched_getscheduler(thread) == SCHED_IDLE && m_policy != SCHED_IDLE;
    if (wasIdle && ::sched_setscheduler(thread, m_policy, &m_parameters) != 0) return false;
    return ::setpriority(PRIO_PROCESS, idOf(thread), niceOf(level, m_nice)) == 0;
}

}  // namespace OrvoSupport::platform
