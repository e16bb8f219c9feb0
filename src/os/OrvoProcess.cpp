#include "OrvoProcess.h"

#include <cstdint>

#include "OrvoLogging.h"
#include "logging/Trace.h"
#include "platform/Process.h"

namespace OrvoSupport {
namespace {

// Who logs verbosely also wants to see what the program does: it gets its console window then.
unsigned int creationFlag() {
    const unsigned int noWindow = 0x08000000;
    const int firstVerboseLevel = 6;
    const bool verbose =
        OrvoLogging::isAccessAllowed() && OrvoLogging::getInstance().getLogLevel() >= firstVerboseLevel;
    return verbose ? 0 : noWindow;
}

void setIfGiven(int* exitCode, int value) {
    if (exitCode) *exitCode = value;
}

void openInstead(const string& commandLine) {
    const platform::DocumentOpened opened = platform::openDocument(commandLine);
    trace(1, "OrvoExecuteProgram: Process started using ", "ShellExecute. ", opened.result,
          " (Error code: ", opened.error, ")");
}

}  // namespace

bool OrvoExecuteProgram(const string& commandLine, bool wait, void** processHandle, int* exitCode) {
    void* const own = reinterpret_cast<void*>(static_cast<std::intptr_t>(-1));
    trace(5, "OrvoExecuteProgram: Execution Started.");
    return OrvoExecuteProgramEx(commandLine, own, own, wait, processHandle, exitCode);
}

bool OrvoExecuteProgramEx(const string& commandLine, void* stdInput, void* stdOutput, bool wait,
                          void** processHandle, int* exitCode) {
    trace(5, "OrvoExecuteProgramEx: Execution Started.");
    const platform::ProcessStart how{stdInput, stdOutput, creationFlag(), wait, processHandle != nullptr};
    trace(9, "OrvoExecuteProgram: nCreateFlag = ", how.creationFlag);
    setIfGiven(exitCode, 0);
    if (processHandle) *processHandle = nullptr;

    platform::Process process;
    const platform::ProcessStarted started = process.start(commandLine, how);
    if (started != platform::ProcessStarted::yes) {
        setIfGiven(exitCode, -1);
        trace(1, "OrvoExecuteProgram: Failed to start process. Error code :", process.error());
        if (started == platform::ProcessStarted::no) return false;
        openInstead(commandLine);
        setIfGiven(exitCode, 0);
        return true;
    }
    if (wait) {
        trace(5, "OrvoExecuteProgram: Wait for process to finish.");
        setIfGiven(exitCode, process.wait());
        trace(5, "OrvoExecuteProgram: Process done.");
    }
    if (processHandle) *processHandle = process.takeHandle();
    return true;
}

void OrvoCloseProcessHandle(void* processHandle) { platform::closeProcessHandle(processHandle); }

}  // namespace OrvoSupport
