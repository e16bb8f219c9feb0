// Linux half of Terminal.
#include "../Terminal.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace dropfolder {
namespace {

bool inForeground() {
    for (int fd = 0; fd < 3; ++fd)
        if (::tcgetpgrp(fd) == ::getpgrp()) return true;
    return false;
}

// Passes on what is meant to stop the program until that has ended, and returns its exit code.
int attend(pid_t program, const sigset_t& signals) {
    for (;;) {
        int signal = 0;
        ::sigwait(&signals, &signal);
        if (signal != SIGCHLD) {
            ::kill(program, signal);
            continue;
        }
        int status = 0;
        if (::waitpid(program, &status, WNOHANG) != program) continue;
        if (WIFEXITED(status)) return WEXITSTATUS(status);
        if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
    }
}

}  // namespace

int runApart(const std::function<int()>& work) {
    if (!inForeground()) return work();

    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) ::sigaddset(&signals, signal);
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);  // none is lost until somebody waits for it
    ::signal(SIGCHLD, SIG_DFL);
    const pid_t program = ::fork();
    if (program > 0) return attend(program, signals);
    if (program == 0) {
        ::setpgid(0, 0);
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    }
    return work();
}

}  // namespace dropfolder
