// Win32 half of ConsoleControl; contract in platform/ConsoleControl.h.
#include "platform/ConsoleControl.h"

#include <windows.h>

#include <atomic>

namespace OrvoSupport::platform {
namespace {

static_assert(consoleInterrupt == CTRL_C_EVENT && consoleBreak == CTRL_BREAK_EVENT);

std::atomic<ConsoleHandler> theHandler{nullptr};
SRWLOCK theUse = SRWLOCK_INIT;  // shared while the handler runs

BOOL WINAPI handle(DWORD event) {
    ::AcquireSRWLockShared(&theUse);
    const ConsoleHandler handler = theHandler;
    const bool handled = handler && handler(static_cast<int>(event));
    ::ReleaseSRWLockShared(&theUse);
    return handled ? TRUE : FALSE;
}

}  // namespace

bool setConsoleHandler(ConsoleHandler handler) {
    if (theHandler.exchange(handler) || ::SetConsoleCtrlHandler(handle, TRUE)) return true;
    theHandler = nullptr;
    return false;
}

void removeConsoleHandler() {
    if (!theHandler.exchange(nullptr)) return;
    ::SetConsoleCtrlHandler(handle, FALSE);
    ::AcquireSRWLockExclusive(&theUse);  // once for the handler that may just run
    ::ReleaseSRWLockExclusive(&theUse);
}

}  // namespace OrvoSupport::platform
