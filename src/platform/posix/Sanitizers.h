// What the run-time parts of the sanitizers have to be told. Linux only; does nothing in other builds.
#ifndef OSUPT_PLATFORM_POSIX_SANITIZERS_H
#define OSUPT_PLATFORM_POSIX_SANITIZERS_H

#include <signal.h>

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define OSUPT_THREAD_SANITIZER 1
#endif
#elif defined(__SANITIZE_THREAD__)
#define OSUPT_THREAD_SANITIZER 1
#endif

// Found at run time in whatever program has it.
extern "C" __attribute__((weak)) void __asan_handle_no_return();

namespace OrvoSupport::platform {

#ifdef OSUPT_THREAD_SANITIZER
/// Whether a thread that has ended outright can be joined. There, the join would wait for its last words.
constexpr bool joinsThreadsEndedOutright = false;

/// There, a handler waits until its thread makes a call that is watched; this puts the handler itself in
/// place.
void deliverAtOnce(int signal, void (*handler)(int, siginfo_t*, void*)) noexcept;
#else
constexpr bool joinsThreadsEndedOutright = true;
inline void deliverAtOnce(int, void (*)(int, siginfo_t*, void*)) noexcept {}
#endif

/// The calling thread leaves its whole stack without returning from anything.
inline void forgetStackOfThisThread() noexcept {
    if (__asan_handle_no_return) __asan_handle_no_return();
}

}  // namespace OrvoSupport::platform

#endif
