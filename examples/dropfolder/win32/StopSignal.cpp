// Windows half of StopSignal.
#include "../StopSignal.h"

#include <windows.h>

#include "../Log.h"

namespace dropfolder {
namespace {

SRWLOCK lock = SRWLOCK_INIT;  // guards the pointer and the life of what it points to
OrvoSupport::OrvoEvent* stopEvent = nullptr;

void setStopEvent(OrvoSupport::OrvoEvent* stop) {
    ::AcquireSRWLockExclusive(&lock);
    stopEvent = stop;
    ::ReleaseSRWLockExclusive(&lock);
}

// Called on a thread of the system's own. For Ctrl+C and Ctrl+Break the answer TRUE keeps the process alive;
// for the others the system ends it when this function returns, so it does not, and main() ends the process.
BOOL WINAPI handleControl(DWORD control) {
    ::AcquireSRWLockExclusive(&lock);
    if (stopEvent) {
        log(1) << "stops: console control " << control << endrecord;
        stopEvent->set();
    }
    ::ReleaseSRWLockExclusive(&lock);
    if (control != CTRL_C_EVENT && control != CTRL_BREAK_EVENT) ::Sleep(INFINITE);
    return TRUE;
}

}  // namespace

struct StopSignal::Listener {};

StopSignal::StopSignal(OrvoSupport::OrvoEvent& stop) {
    setStopEvent(&stop);
    ::SetConsoleCtrlHandler(nullptr, FALSE);  // a parent may have had Ctrl+C ignored
    ::SetConsoleCtrlHandler(handleControl, TRUE);
}

// The handler stays: a second Ctrl+C that comes late must not cut short what the first has begun to end.
StopSignal::~StopSignal() { setStopEvent(nullptr); }

}  // namespace dropfolder
