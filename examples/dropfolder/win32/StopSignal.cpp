// Windows half of StopSignal.
#include "../StopSignal.h"

#include <windows.h>

#include <atomic>

#include "../Log.h"

namespace dropfolder {
namespace {

std::atomic<OrvoSupport::OrvoEvent*> stopEvent{nullptr};

// Called on a thread of the system's own. For Ctrl+C and Ctrl+Break the answer TRUE keeps the process alive;
// for the others the system ends it when this function returns, so it does not, and main() ends the process.
BOOL WINAPI handleControl(DWORD control) {
    OrvoSupport::OrvoEvent* const stop = stopEvent;
    if (!stop) return FALSE;
    log(1) << "stops: console control " << control << endrecord;
    stop->set();
    if (control != CTRL_C_EVENT && control != CTRL_BREAK_EVENT) ::Sleep(INFINITE);
    return TRUE;
}

}  // namespace

struct StopSignal::Listener {};

StopSignal::StopSignal(OrvoSupport::OrvoEvent& stop) {
    stopEvent = &stop;
    ::SetConsoleCtrlHandler(nullptr, FALSE);  // a parent may have had Ctrl+C ignored
    ::SetConsoleCtrlHandler(handleControl, TRUE);
}

StopSignal::~StopSignal() {
    stopEvent = nullptr;
    ::SetConsoleCtrlHandler(handleControl, FALSE);
}

}  // namespace dropfolder
