// Win32 half of ConsoleControl; contract in platform/ConsoleControl.h.
#include "platform/ConsoleControl.h"

#include <windows.h>

#include <atomic>

namespace OrvoSupport::platform {
namespace {

static_assert(consoleInterrupt == CTRL_C_EVENT && consoleBreak == CTRL_BREAK_EVENT);

std::atomic<ConsoleHandler> theHandler{nullptr};

BOOL WINAPI handle(DWORD event) {
    const ConsoleHandler handler = theHandler;
    return handler && handler(static_cast<int>(event)) ? TRUE : FALSE;
}

}  // namespace

bool setConsoleHandler(ConsoleHandler handler) {
    const bool installed = theHandler.exchange(handler) != nullptr;
    return installed || ::SetConsoleCtrlHandler(handle, TRUE) != 0;
}

void removeConsoleHandler() {
    if (theHandler.exchange(nullptr)) ::SetConsoleCtrlHandler(handle, FALSE);
}

}  // namespace OrvoSupport::platform
