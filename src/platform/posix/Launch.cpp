#include "platform/posix/Launch.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/futex.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/posix/Sanitizers.h"

// The C library's clone() under a name that sanitizers leave alone: theirs takes every child for a copy.
extern "C" int __clone(int (*function)(void*), void* stack, int flags, void* argument, ...) noexcept;

// Code of the other processes must not touch the sanitizers' state, which it shares with the caller.
#define OTHER_PROCESS OSUPT_NOT_INSTRUMENTED

namespace OrvoSupport::platform {
namespace {

constexpr int lastSignal = 64;

// The kernel's forms of the signal structures; the C library's keep two signals to themselves.
struct KernelSignalSet {
    unsigned long bits[lastSignal / (8 * sizeof(unsigned long))];
};
struct KernelSignalAction {
    unsigned long words[8];
};
const KernelSignalSet noSignals = {};
const KernelSignalAction defaultAction = {};  // all zero on every architecture

OTHER_PROCESS void setSignalMask(const KernelSignalSet& mask, KernelSignalSet* old) {
    ::syscall(SYS_rt_sigprocmask, SIG_SETMASK, &mask, old, sizeof mask);
}

OTHER_PROCESS void setDefaultAction(int signal) {
    ::syscall(SYS_rt_sigaction, signal, &defaultAction, nullptr, sizeof(KernelSignalSet));
}

OTHER_PROCESS void closeFrom(unsigned int first) {
    if (::syscall(SYS_close_range, first, ~0U, 0) == 0) return;
    rlimit limit;  // before Linux 5.9
    if (::syscall(SYS_prlimit64, 0, RLIMIT_NOFILE, nullptr, &limit) != 0) return;
    for (unsigned int fd = first; fd < limit.rlim_cur; ++fd) ::syscall(SYS_close, fd);
}

// What stands at one of the places to be filled is first copied out of the way; nothing else is, since there
// may be no free descriptor.
OTHER_PROCESS bool setStandardStreams(int input, int output) {
    int from[] = {input, output};
    for (int fd = 0; fd < 2; ++fd) {
        if (from[fd] == -1) from[fd] = fd;
        if (from[fd] == fd || from[fd] >= 3) continue;
        from[fd] = static_cast<int>(::syscall(SYS_fcntl, from[fd], F_DUPFD, 3));
        if (from[fd] < 0) return false;
    }
    for (int fd = 0; fd < 2; ++fd)
        if (from[fd] != fd && ::syscall(SYS_dup3, from[fd], fd, 0) < 0) return false;
    for (int fd = 0; fd < 3; ++fd) ::syscall(SYS_fcntl, fd, F_SETFD, 0);
    return true;
}

// As execvp: the search goes on where there is no such file, and remembers where access was denied.
OTHER_PROCESS int execute(const Launch& launch) {
    int error = ENOENT;
    for (const char* const* path = launch.candidates; *path; ++path) {
        ::syscall(SYS_execve, *path, launch.arguments, launch.environment);
        const bool goOn = errno == EACCES || errno == ENOENT || errno == ENOTDIR || errno == ESTALE ||
                          errno == ENODEV || errno == ETIMEDOUT;
        if (!goOn) return errno;
        if (error != EACCES) error = errno;
    }
    return error;
}

OTHER_PROCESS int runProgram(void* argument) {
    Launch& launch = *static_cast<Launch*>(argument);
    for (int signal = 1; signal <= lastSignal; ++signal) setDefaultAction(signal);
    if (setStandardStreams(launch.input, launch.output)) {
        closeFrom(3);
        setSignalMask(noSignals, nullptr);
        launch.error = execute(launch);
    } else {
        launch.error = errno;
    }
    ::syscall(SYS_exit_group, 127);
    return 0;
}

OTHER_PROCESS void endOfStart(Launch& launch) {
    __atomic_store_n(&launch.starting, 0, __ATOMIC_RELEASE);
    ::syscall(SYS_futex, &launch.starting, FUTEX_WAKE, 1, nullptr, nullptr, 0);
}

OTHER_PROCESS int exitCodeOf(int program) {
    int status = 0;
    if (::syscall(SYS_wait4, program, &status, 0, nullptr) != program) return -1;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

OTHER_PROCESS int runHelper(void* argument) {
    Launch& launch = *static_cast<Launch*>(argument);
    ::syscall(SYS_prctl, PR_SET_PDEATHSIG, SIGKILL);  // our memory must not outlive the process
    setDefaultAction(SIGCHLD);                        // an ignored one would lose the exit code
    const int program =
        ::__clone(runProgram, launch.programStack, CLONE_VM | CLONE_VFORK | SIGCHLD, argument);
    if (program < 0)
        launch.error = errno;
    else if (launch.error == 0 && launch.descriptorWanted)
        launch.descriptor = static_cast<int>(::syscall(SYS_pidfd_open, program, 0));
    const bool wait = program > 0 && (launch.awaited || launch.error != 0);
    endOfStart(launch);
    if (wait) launch.exitCode = exitCodeOf(program);
    ::syscall(SYS_exit_group, 0);
    return 0;
}

}  // namespace

int launch(Launch& launch, char* stacks) {
    char* const helperStack = stacks + launchStacks / 2;
    launch.programStack = stacks + launchStacks;
    KernelSignalSet all;
    for (unsigned long& bits : all.bits) bits = ~0UL;
    KernelSignalSet old;
    setSignalMask(all, &old);  // no handler of the host may run in the other processes

    // The kernel clears `starting` as well when the helper ends, so that no end of it leaves us waiting. It
    // shares the descriptors, since copies of its own would keep the host's pipes and files open.
    const int helper = ::__clone(runHelper, helperStack, CLONE_VM | CLONE_FILES | CLONE_CHILD_CLEARTID,
                                 &launch, nullptr, nullptr, &launch.starting);
    if (helper < 0) launch.error = errno;
    while (helper > 0 && __atomic_load_n(&launch.starting, __ATOMIC_ACQUIRE) != 0)
        ::syscall(SYS_futex, &launch.starting, FUTEX_WAIT, 1, nullptr, nullptr, 0);
    setSignalMask(old, nullptr);
    return helper;
}

void awaitHelper(int helper) {
    while (::waitpid(helper, nullptr, __WALL) < 0 && errno == EINTR) {
    }
}

}  // namespace OrvoSupport::platform
