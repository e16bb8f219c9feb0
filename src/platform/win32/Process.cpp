#include "platform/Process.h"

#include <windows.h>

#include <shellapi.h>

#include <cstdint>

namespace OrvoSupport::platform {
namespace {

constexpr DWORD pollMs = 100;

HANDLE streamOr(void* stream, DWORD own) {
    return stream == INVALID_HANDLE_VALUE ? ::GetStdHandle(own) : static_cast<HANDLE>(stream);
}

STARTUPINFOA startupOf(const ProcessStart& how) {
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES | STARTF_USESHOWWINDOW;
    startup.wShowWindow = SW_SHOWNORMAL;
    startup.hStdInput = streamOr(how.standardInput, STD_INPUT_HANDLE);
    startup.hStdOutput = streamOr(how.standardOutput, STD_OUTPUT_HANDLE);
    startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
    return startup;
}

}  // namespace

struct Process::State {
    HANDLE process = nullptr;

    ~State() {
        if (process) ::CloseHandle(process);
    }
};

Process::Process() : m_state(std::make_unique<State>()) {}

Process::~Process() = default;

ProcessStarted Process::start(const std::string& commandLine, const ProcessStart& how) {
    std::string line = commandLine;  // the call may write to it
    STARTUPINFOA startup = startupOf(how);
    PROCESS_INFORMATION started = {};
    if (!::CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, how.creationFlag, nullptr, nullptr,
                          &startup, &started)) {
        m_error = ::GetLastError();
        return m_error == ERROR_BAD_EXE_FORMAT ? ProcessStarted::notAProgram : ProcessStarted::no;
    }
    ::CloseHandle(started.hThread);
    m_state->process = started.hProcess;
    return ProcessStarted::yes;
}

int Process::wait() {
    while (::WaitForSingleObject(m_state->process, pollMs) == WAIT_TIMEOUT) {
    }
    DWORD exitCode = 0;
    ::GetExitCodeProcess(m_state->process, &exitCode);
    return static_cast<int>(exitCode);
}

void* Process::takeHandle() {
    const HANDLE handle = m_state->process;
    m_state->process = nullptr;
    return handle;
}

void closeProcessHandle(void* handle) {
    if (handle) ::CloseHandle(handle);
}

DocumentOpened openDocument(const std::string& document) {
    const HINSTANCE result =
        ::ShellExecuteA(nullptr, "open", document.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    const DWORD error = ::GetLastError();
    return {static_cast<int>(reinterpret_cast<std::intptr_t>(result)), error};
}

}  // namespace OrvoSupport::platform
