// Linux half of ChildProcess: fork and exec, output to an unlinked file.
#include "support/ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace testing_support {

struct ChildProcess::Impl {
    pid_t pid = -1;
    int output = -1;
    bool ended = false;
    int exitCode = -1;

    bool poll() {
        int status = 0;
        if (!ended && ::waitpid(pid, &status, WNOHANG) == pid) {
            ended = true;
            exitCode = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
        }
        return ended;
    }
};

ChildProcess::ChildProcess(const Command& command) : m_impl(std::make_unique<Impl>()) {
    FILE* file = ::tmpfile();
    m_impl->output = ::fcntl(::fileno(file), F_DUPFD_CLOEXEC, 0);
    ::fclose(file);

    std::vector<std::string> words{command.program};
    words.insert(words.end(), command.arguments.begin(), command.arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);

    m_impl->pid = ::fork();
    if (m_impl->pid == 0) {
        ::dup2(m_impl->output, 1);
        ::dup2(m_impl->output, 2);
        // A shell that started the test in the background may have let them be ignored.
        for (const int signal : {SIGINT, SIGQUIT}) ::signal(signal, SIG_DFL);
        ::execv(argv[0], argv.data());
        ::_exit(121);
    }
}

ChildProcess::~ChildProcess() {
    if (running()) {
        kill();
        wait();
    }
    ::close(m_impl->output);
}

bool ChildProcess::running() { return !m_impl->poll(); }

long ChildProcess::id() const { return m_impl->pid; }

int ChildProcess::wait(int limitSeconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(limitSeconds);
    while (!m_impl->poll()) {
        if (std::chrono::steady_clock::now() > end) {
            kill();
            int status = 0;
            ::waitpid(m_impl->pid, &status, 0);
            m_impl->ended = true;
            return -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return m_impl->exitCode;
}

void ChildProcess::kill() {
    if (!m_impl->ended) ::kill(m_impl->pid, SIGKILL);
}

std::string ChildProcess::output() const {
    std::string text;
    char buffer[4096];
    ssize_t count;
    while ((count = ::pread(m_impl->output, buffer, sizeof buffer, static_cast<off_t>(text.size()))) > 0)
        text.append(buffer, static_cast<std::size_t>(count));
    return text;
}

const std::string& programPath() {
    static const std::string path = [] {
        char buffer[4096];
        const ssize_t length = ::readlink("/proc/self/exe", buffer, sizeof buffer);
        return std::string(buffer, length > 0 ? static_cast<std::size_t>(length) : 0);
    }();
    return path;
}

void setEnvironment(const char* name, const char* value) {
    if (value)
        ::setenv(name, value, 1);
    else
        ::unsetenv(name);
}

}  // namespace testing_support
