// Windows half of Program.
#include "../Program.h"

#include <OrvoProcess.h>
#include <windows.h>

namespace dropfolder {
namespace {

HANDLE openNothing() {
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    return ::CreateFileA("NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable, OPEN_EXISTING,
                         0, nullptr);
}

HANDLE noInput() {
    static const HANDLE handle = openNothing();
    return handle;
}

}  // namespace

ProgramEnd runProgram(const std::string& commandLine, int limitSeconds) {
    HANDLE process = nullptr;
    if (!OrvoSupport::OrvoExecuteProgramEx(commandLine, noInput(), INVALID_HANDLE_VALUE, false, &process,
                                           nullptr))
        return {ProgramEnd::notStarted, -1};
    if (!process) return {ProgramEnd::unknown, -1};  // a document, opened by a program of its own

    const DWORD limit = limitSeconds > 0 ? static_cast<DWORD>(limitSeconds) * 1000 : INFINITE;
    const bool inTime = ::WaitForSingleObject(process, limit) != WAIT_TIMEOUT;
    if (!inTime) {
        ::TerminateProcess(process, 1);
        ::WaitForSingleObject(process, INFINITE);
    }
    DWORD exitCode = 0;
    ::GetExitCodeProcess(process, &exitCode);
    OrvoSupport::OrvoCloseProcessHandle(process);
    return {inTime ? ProgramEnd::ended : ProgramEnd::outOfTime, static_cast<int>(exitCode)};
}

}  // namespace dropfolder
