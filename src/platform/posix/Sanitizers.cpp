#include "platform/posix/Sanitizers.h"

#ifdef OSUPT_THREAD_SANITIZER

#include <pthread.h>
#include <sanitizer/tsan_interface.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>

extern "C" {
void AnnotateIgnoreReadsBegin(const char* file, int line);
void AnnotateIgnoreReadsEnd(const char* file, int line);
void AnnotateIgnoreWritesBegin(const char* file, int line);
void AnnotateIgnoreWritesEnd(const char* file, int line);
}

namespace OrvoSupport::platform {
namespace {

void lookAway() {
    AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
    AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
}

void lookAgain() {
    AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
    AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
}

// A child that tidies up after the threads of its parent seems to race with them, since the sanitizer hears
// of the fork when that is done.
[[maybe_unused]] const int forkHandlers = ::pthread_atfork(lookAway, lookAgain, nullptr);

// As the kernel has it.
struct KernelAction {
    void (*handler)(int, siginfo_t*, void*);
    unsigned long flags;
    void (*restorer)();
    std::uint64_t mask;
};

}  // namespace

void deliverAtOnce(int signal, void (*handler)(int, siginfo_t*, void*)) noexcept {
    KernelAction action = {};
    if (::syscall(SYS_rt_sigaction, signal, nullptr, &action, sizeof action.mask) != 0) return;
    action.handler = handler;
    ::syscall(SYS_rt_sigaction, signal, &action, nullptr, sizeof action.mask);
}

void beginUnwatched(void* order) noexcept {
    tellOrder(order);
    lookAway();
}

void endUnwatched(void* order) noexcept {
    lookAgain();
    tellOrder(order);
}

void tellOrder(void* order) noexcept {
    __tsan_acquire(order);
    __tsan_release(order);
}

}  // namespace OrvoSupport::platform

#endif
