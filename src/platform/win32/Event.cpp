// Win32 half of Event; contract in src/platform/Event.h.
#include "platform/Event.h"

#include <windows.h>

namespace OrvoSupport::platform {

namespace {

WaitHandle createEventOf(BOOL manualReset) {
    const BOOL signalled = FALSE;
    return ::CreateEventA(nullptr, manualReset, signalled, nullptr);
}

}  // namespace

WaitHandle createEvent() noexcept { return createEventOf(FALSE); }

WaitHandle createManualResetEvent() noexcept { return createEventOf(TRUE); }

void closeEvent(WaitHandle event) noexcept {
    if (event) ::CloseHandle(event);
}

// These three can fail for nothing but a handle that is no event; there is nobody to tell.
void setEvent(WaitHandle event) noexcept { ::SetEvent(event); }

void resetEvent(WaitHandle event) noexcept { ::ResetEvent(event); }

void pulseEvent(WaitHandle event) noexcept { ::PulseEvent(event); }

}  // namespace OrvoSupport::platform
