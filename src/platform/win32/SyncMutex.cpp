// Win32 half of SyncMutex; contract in src/platform/SyncMutex.h.
#include "platform/SyncMutex.h"

#include <windows.h>

namespace OrvoSupport::platform {

MutexHandle createMutex() noexcept {
    const BOOL owned = FALSE;
    return ::CreateMutexA(nullptr, owned, nullptr);
}

void closeMutex(MutexHandle mutex) noexcept {
    if (mutex) ::CloseHandle(mutex);
}

// These fail for nothing but a handle that is no mutex, or a thread that does not hold it. An abandoned mutex
// is taken like any other.
void lockMutex(MutexHandle mutex) noexcept { ::WaitForSingleObject(mutex, INFINITE); }

void unlockMutex(MutexHandle mutex) noexcept { ::ReleaseMutex(mutex); }

void unlockMutexAndWait(MutexHandle mutex, WaitHandle event) noexcept {
    const BOOL alertable = FALSE;
    ::SignalObjectAndWait(mutex, event, INFINITE, alertable);
}

}  // namespace OrvoSupport::platform
