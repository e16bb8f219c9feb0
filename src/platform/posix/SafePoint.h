// Where in its code a thread may be suspended or ended. Linux only.
#ifndef OSUPT_PLATFORM_POSIX_SAFE_POINT_H
#define OSUPT_PLATFORM_POSIX_SAFE_POINT_H

#include <cstdint>

namespace OrvoSupport::platform {

/// Where a thread stood when it was looked at.
struct Standpoint {
    std::uintptr_t code = 0;
    std::uintptr_t stack = 0;
    unsigned looks = 0;  // that found it there, one after the other
};

/// Looks where the C library and its kin lie in memory. To be called once, before the first question.
void findCriticalCode() noexcept;

/// Whether the thread that a signal has interrupted holds no lock of the C library, as far as can be told: it
/// is in code of another library or sleeps in a system call. `context` is what the signal handler was given;
/// `last` is where the same thread stood at the last look, and is renewed.
bool standsAtSafePoint(const void* context, Standpoint& last) noexcept;

}  // namespace OrvoSupport::platform

#endif
