// Linux half of Program.
#include "../Program.h"

#include <OrvoCriticalSection.h>
#include <OrvoProcess.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>

namespace dropfolder {
namespace {

/// The system tells an exit code to the parent only, and a program that nobody waited for while it started
/// has none: init adopts it. So this process asks to be the one that adopts; then it is also up to it to bury
/// what the programs leave behind, which it does whenever none of them runs.
class Adoption {
public:
    Adoption() {
        OrvoSupport::OrvoCriticalSection guard(lock());
        if (running()++ > 0) return;
        ::signal(SIGCHLD, SIG_DFL);  // ignoring it, as some parents have it, would throw exit codes away
        ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    }
    ~Adoption() {
        OrvoSupport::OrvoCriticalSection guard(lock());
        if (--running() > 0) return;
        siginfo_t orphan = {};
        while (::waitid(P_ALL, 0, &orphan, WEXITED | WNOHANG) == 0 && orphan.si_pid != 0) orphan.si_pid = 0;
    }
    Adoption(const Adoption&) = delete;
    Adoption& operator=(const Adoption&) = delete;

private:
    static OrvoSupport::OrvoCriticalSectionObject& lock() {
        static OrvoSupport::OrvoCriticalSectionObject object;
        return object;
    }
    static int& running() {
        static int count = 0;
        return count;
    }
};

void* noInput() {
    static const int descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor));
}

bool endsWithin(int process, int seconds) {
    pollfd end = {process, POLLIN, 0};
    int count;
    do count = ::poll(&end, 1, seconds > 0 ? seconds * 1000 : -1);
    while (count < 0 && errno == EINTR);
    return count != 0;
}

int exitCodeOf(int process) {
    siginfo_t end = {};
    while (::waitid(P_PIDFD, static_cast<id_t>(process), &end, WEXITED) != 0)
        if (errno != EINTR) return -1;
    return end.si_code == CLD_EXITED ? end.si_status : 128 + end.si_status;
}

}  // namespace

ProgramEnd runProgram(const std::string& commandLine, int limitSeconds) {
    const Adoption adoption;
    void* const own = reinterpret_cast<void*>(static_cast<std::intptr_t>(-1));
    void* handle = nullptr;
    if (!OrvoSupport::OrvoExecuteProgramEx(commandLine, noInput(), own, false, &handle, nullptr))
        return {ProgramEnd::notStarted, -1};
    if (!handle) return {ProgramEnd::ended, 0};  // a document, opened by a program of its own

    const int process = static_cast<int>(reinterpret_cast<std::intptr_t>(handle));
    const bool inTime = endsWithin(process, limitSeconds);
    if (!inTime) ::syscall(SYS_pidfd_send_signal, process, SIGKILL, nullptr, 0);
    const int exitCode = exitCodeOf(process);
    OrvoSupport::OrvoCloseProcessHandle(handle);
    return {inTime ? ProgramEnd::ended : ProgramEnd::outOfTime, exitCode};
}

}  // namespace dropfolder
