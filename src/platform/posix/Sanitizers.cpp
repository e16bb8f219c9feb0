#include "platform/posix/Sanitizers.h"

#ifdef OSUPT_THREAD_SANITIZER

#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>

namespace OrvoSupport::platform {
namespace {

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

}  // namespace OrvoSupport::platform

#endif
