// Win32 half of ThreadSlot; contract in platform/ThreadSlot.h. The compiler's own thread-local variables
// would leave memory behind in each thread that outlives the library.
#include "platform/ThreadSlot.h"

#include <windows.h>

#include <atomic>
#include <cstdint>

namespace OrvoSupport::platform {
namespace {

// Allocated at the first use, which may be before this file's static objects are constructed.
std::atomic<DWORD> slot{TLS_OUT_OF_INDEXES};

struct SlotEnd {
    ~SlotEnd() {
        const DWORD last = slot.exchange(TLS_OUT_OF_INDEXES);
        if (last != TLS_OUT_OF_INDEXES) ::TlsFree(last);
    }
} slotEnd;

DWORD allocatedSlot() {
    DWORD known = slot.load(std::memory_order_acquire);
    if (known != TLS_OUT_OF_INDEXES) return known;
    const DWORD made = ::TlsAlloc();
    if (made == TLS_OUT_OF_INDEXES || slot.compare_exchange_strong(known, made)) return made;
    ::TlsFree(made);
    return known;
}

}  // namespace

// TlsGetValue() clears the thread's last error, which belongs to the host.
void* threadSlot() noexcept {
    const DWORD known = slot.load(std::memory_order_acquire);
    if (known == TLS_OUT_OF_INDEXES) return nullptr;
    const DWORD error = ::GetLastError();
    void* const value = ::TlsGetValue(known);
    ::SetLastError(error);
    return value;
}

void setThreadSlot(void* value) noexcept {
    const DWORD known = allocatedSlot();
    if (known != TLS_OUT_OF_INDEXES) ::TlsSetValue(known, value);
}

const void* thisThread() noexcept {
    return reinterpret_cast<const void*>(static_cast<std::uintptr_t>(::GetCurrentThreadId()));
}

}  // namespace OrvoSupport::platform
