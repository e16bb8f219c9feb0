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
#include <set>

namespace dropfolder {
namespace {

int descriptorOf(void* handle) { return static_cast<int>(reinterpret_cast<std::intptr_t>(handle)); }

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

/// A child that has ended and that nobody has asked about yet, or 0. It stays.
pid_t endedChild(idtype_t which, int process) {
    siginfo_t end = {};
    const int options = WEXITED | WNOHANG | WNOWAIT;
    return ::waitid(which, static_cast<id_t>(process), &end, options) == 0 ? end.si_pid : 0;
}

/// The system tells an exit code to the parent only, and a program that nobody waited for while it started
/// has none: init adopts it. So this process asks to be the one that adopts; then it is also up to it to bury
/// what the programs leave behind.
///
/// Thread safety: any thread. Programs start one at a time, so that none can be taken for a stranger.
class Programs {
public:
    bool start(const std::string& commandLine, void*& handle) {
        OrvoSupport::OrvoCriticalSection guard(m_lock);
        ::signal(SIGCHLD, SIG_DFL);  // ignoring it, as some parents have it, would throw exit codes away
        ::prctl(PR_SET_CHILD_SUBREAPER, 1);
        void* const own = reinterpret_cast<void*>(static_cast<std::intptr_t>(-1));
        if (!OrvoSupport::OrvoExecuteProgramEx(commandLine, noInput(), own, false, &handle, nullptr))
            return false;
        if (handle) m_running.insert(descriptorOf(handle));
        return true;
    }

    /// Waits for its end.
    int exitCode(void* handle) {
        const int exitCode = exitCodeOf(descriptorOf(handle));
        OrvoSupport::OrvoCriticalSection guard(m_lock);
        m_running.erase(descriptorOf(handle));
        OrvoSupport::OrvoCloseProcessHandle(handle);
        buryStrangers();
        return exitCode;
    }

private:
    // The system shows one of those that have ended. If that is one of the programs, whoever waits for it
    // comes by here next.
    void buryStrangers() {
        for (pid_t child; (child = endedChild(P_ALL, 0)) != 0;) {
            for (const int program : m_running)
                if (endedChild(P_PIDFD, program) == child) return;
            if (::waitpid(child, nullptr, WNOHANG) != child) return;
        }
    }

    OrvoSupport::OrvoCriticalSectionObject m_lock;
    std::set<int> m_running;
};

}  // namespace

ProgramEnd runProgram(const std::string& commandLine, int limitSeconds) {
    static Programs programs;
    void* handle = nullptr;
    if (!programs.start(commandLine, handle)) return {ProgramEnd::notStarted, -1};
    if (!handle) return {ProgramEnd::unknown, -1};  // a document, opened by a program of its own

    const bool inTime = endsWithin(descriptorOf(handle), limitSeconds);
    if (!inTime) ::syscall(SYS_pidfd_send_signal, descriptorOf(handle), SIGKILL, nullptr, 0);
    const int exitCode = programs.exitCode(handle);
    return {inTime ? ProgramEnd::ended : ProgramEnd::outOfTime, exitCode};
}

}  // namespace dropfolder
