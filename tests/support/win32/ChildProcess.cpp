// Windows half of ChildProcess: CreateProcess, output to a file of the child's own.
#include "support/ChildProcess.h"

#include <windows.h>

#include <cstdlib>

#include "support/TempFolder.h"

namespace testing_support {
namespace {

std::string quoted(const std::string& word) {
    if (!word.empty() && word.find_first_of(" \t\"") == std::string::npos) return word;
    std::string text = "\"";
    std::size_t backslashes = 0;
    for (const char c : word) {
        if (c == '"') text.append(backslashes + 1, '\\');
        backslashes = c == '\\' ? backslashes + 1 : 0;
        text += c;
    }
    return text.append(backslashes, '\\') + '"';
}

}  // namespace

struct ChildProcess::Impl {
    TempFolder folder;
    HANDLE process = nullptr;
};

ChildProcess::ChildProcess(const Command& command) : m_impl(std::make_unique<Impl>()) {
    std::string line = quoted(command.program);
    for (const std::string& argument : command.arguments) line += " " + quoted(argument);

    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    const HANDLE output =
        ::CreateFileA(m_impl->folder.file("output").c_str(), GENERIC_WRITE,
                      FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable, CREATE_ALWAYS, 0, nullptr);
    STARTUPINFOA start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = ::GetStdHandle(STD_INPUT_HANDLE);
    start.hStdOutput = output;
    start.hStdError = output;
    PROCESS_INFORMATION started = {};
    // Wine on a busy machine now and then refuses to start a process.
    for (int tries = 0; tries < 20 && !m_impl->process; ++tries) {
        if (tries > 0) ::Sleep(200);
        if (::CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                             &started)) {
            ::CloseHandle(started.hThread);
            m_impl->process = started.hProcess;
        } else if (::GetLastError() != ERROR_INTERNAL_ERROR) {
            break;
        }
    }
    ::CloseHandle(output);
}

ChildProcess::~ChildProcess() {
    if (running()) {
        kill();
        wait();
    }
    if (m_impl->process) ::CloseHandle(m_impl->process);
}

bool ChildProcess::running() {
    return m_impl->process && ::WaitForSingleObject(m_impl->process, 0) == WAIT_TIMEOUT;
}

long ChildProcess::id() const { return static_cast<long>(::GetProcessId(m_impl->process)); }

int ChildProcess::wait(int limitSeconds) {
    if (!m_impl->process) return 121;
    if (::WaitForSingleObject(m_impl->process, static_cast<DWORD>(limitSeconds) * 1000) != WAIT_OBJECT_0) {
        kill();
        ::WaitForSingleObject(m_impl->process, 5000);
        return -1;
    }
    DWORD exitCode = 0;
    ::GetExitCodeProcess(m_impl->process, &exitCode);
    return static_cast<int>(exitCode);
}

void ChildProcess::kill() {
    if (m_impl->process) ::TerminateProcess(m_impl->process, 137);
}

std::string ChildProcess::output() const { return readFile(m_impl->folder.file("output")); }

const std::string& programPath() {
    static const std::string path = [] {
        char buffer[MAX_PATH];
        return std::string(buffer, ::GetModuleFileNameA(nullptr, buffer, sizeof buffer));
    }();
    return path;
}

void setEnvironment(const char* name, const char* value) {
    ::SetEnvironmentVariableA(name, value);
    ::_putenv((std::string(name) + "=" + (value ? value : "")).c_str());
}

}  // namespace testing_support
