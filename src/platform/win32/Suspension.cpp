#include "platform/win32/Suspension.h"

extern "C" __declspec(dllimport) BOOLEAN NTAPI RtlDllShutdownInProgress();

namespace OrvoSupport::platform {

InternalLock suspendingLock;

namespace {

MEMORY_BASIC_INFORMATION regionOf(const void* address) {
    MEMORY_BASIC_INFORMATION region = {};
    ::VirtualQuery(address, &region, sizeof region);
    return region;
}

bool isSystem(const MEMORY_BASIC_INFORMATION& region) {
    return region.AllocationBase ==
           regionOf(reinterpret_cast<const void*>(&RtlDllShutdownInProgress)).AllocationBase;
}

bool isCode(const MEMORY_BASIC_INFORMATION& region) {
    constexpr DWORD executable =
        PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    return region.Type == MEM_IMAGE && (region.Protect & executable) != 0;
}

}  // namespace

bool suspendNow(HANDLE thread, Standing& standing) noexcept {
    const DWORD suspensions = ::SuspendThread(thread);
    if (suspensions == static_cast<DWORD>(-1)) return false;
    standing.wasSuspended = suspensions > 0;
    // The system answers SuspendThread() before the thread stands, but this only after that.
    CONTEXT context = {};
    context.ContextFlags = CONTEXT_CONTROL;
    ::GetThreadContext(thread, &context);
#ifdef _WIN64
    standing.instruction = reinterpret_cast<const void*>(context.Rip);
    standing.stack = reinterpret_cast<const void* const*>(context.Rsp);
#else
    standing.instruction = reinterpret_cast<const void*>(context.Eip);
    standing.stack = reinterpret_cast<const void* const*>(context.Esp);
#endif
    return true;
}

bool standsInModuleOf(const Standing& standing, const void* address) noexcept {
    return regionOf(standing.instruction).AllocationBase == regionOf(address).AllocationBase;
}

// A system call stands right at the top of the stack: its return address, on some systems after one more that
// lies in the system's library. Whatever the library does for itself returns to itself.
bool standsInSystemWork(const Standing& standing) noexcept {
    if (!isSystem(regionOf(standing.instruction))) return false;
    for (int i = 0; i < 2; ++i) {
        const MEMORY_BASIC_INFORMATION caller = regionOf(standing.stack[i]);
        if (!isSystem(caller)) return !isCode(caller);
    }
    return true;
}

}  // namespace OrvoSupport::platform
