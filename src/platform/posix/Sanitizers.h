// What the run-time parts of the sanitizers have to be told. Linux only; does nothing in other builds.
#ifndef OSUPT_PLATFORM_POSIX_SANITIZERS_H
#define OSUPT_PLATFORM_POSIX_SANITIZERS_H

#include <dlfcn.h>
#include <signal.h>
#include <sys/auxv.h>

#include <cstdint>

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define OSUPT_THREAD_SANITIZER 1
#endif
#elif defined(__SANITIZE_THREAD__)
#define OSUPT_THREAD_SANITIZER 1
#endif

// For code that runs where the sanitizers' state is another's, is not there, or is being changed.
#if defined(__clang__)
#define OSUPT_NOT_INSTRUMENTED __attribute__((disable_sanitizer_instrumentation, no_sanitize("undefined")))
#else
#define OSUPT_NOT_INSTRUMENTED __attribute__((no_sanitize("address", "thread", "undefined")))
#endif

// Found at run time in whatever program has them.
extern "C" {
__attribute__((weak)) void __asan_handle_no_return();
__attribute__((weak)) int __sanitizer_get_ownership(const volatile void* memory);
__attribute__((weak)) void __lsan_do_leak_check();
}

namespace OrvoSupport::platform {

inline bool isOfOneModule(std::uintptr_t code, std::uintptr_t otherCode) noexcept {
    Dl_info module = {};
    Dl_info other = {};
    return ::dladdr(reinterpret_cast<const void*>(code), &module) != 0 &&
           ::dladdr(reinterpret_cast<const void*>(otherCode), &other) != 0 &&
           module.dli_fbase == other.dli_fbase;
}

#ifdef OSUPT_THREAD_SANITIZER
/// Whether a thread that has ended outright can be joined. There, the join would wait for its last words.
constexpr bool joinsThreadsEndedOutright = false;

/// There, a handler waits until its thread makes a call that is watched; this puts the handler itself in
/// place.
void deliverAtOnce(int signal, void (*handler)(int, siginfo_t*, void*)) noexcept;

/// In a handler that interrupts a call that is watched, atomic operations order nothing there: what such a
/// handler accesses is not to be watched either, and who comes before whom is told on this object.
void beginUnwatched(void* order) noexcept;
void endUnwatched(void* order) noexcept;
void tellOrder(void* order) noexcept;
#else
constexpr bool joinsThreadsEndedOutright = true;
inline void deliverAtOnce(int, void (*)(int, siginfo_t*, void*)) noexcept {}
inline void beginUnwatched(void*) noexcept {}
inline void endUnwatched(void*) noexcept {}
inline void tellOrder(void*) noexcept {}
#endif

/// Where the address sanitizer lies, also when it is linked into the program: it comes first there, and its
/// allocator before any of its functions that can be named. Both are 0 where there is none.
inline void findSanitizerCode(std::uintptr_t& begin, std::uintptr_t& end) noexcept {
    begin = reinterpret_cast<std::uintptr_t>(&__sanitizer_get_ownership);
    end = reinterpret_cast<std::uintptr_t>(&__lsan_do_leak_check);
    const std::uintptr_t entry = ::getauxval(AT_ENTRY);
    if (entry < begin && isOfOneModule(entry, begin)) begin = entry;
}

/// The calling thread leaves its whole stack without returning from anything.
inline void forgetStackOfThisThread() noexcept {
    if (__asan_handle_no_return) __asan_handle_no_return();
}

}  // namespace OrvoSupport::platform

#endif
