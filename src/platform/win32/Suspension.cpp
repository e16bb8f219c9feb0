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

/// Whether the code goes on there with a return, so that the top of the stack says where to. A 32-bit program
/// on a 64-bit system shows another place in a system call, so there it counts as one anywhere.
bool isReturn([[maybe_unused]] const void* code) {
#ifdef _WIN64
    const unsigned char instruction = *static_cast<const unsigned char*>(code);
    return instruction == 0xC3 || instruction == 0xC2;
#else
    return true;
#endif
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

// A thread in a system call goes on with the return from it, on some systems after one more inside the
// system's library. Whatever the library does for itself returns to itself.
bool standsInSystemWork(const Standing& standing) noexcept {
    const void* code = standing.instruction;
    if (!isSystem(regionOf(code))) return false;
    for (int i = 0; i < 2 && isReturn(code); ++i) {
        code = standing.stack[i];
        const MEMORY_BASIC_INFORMATION caller = regionOf(code);
        if (!isSystem(caller)) return !isCode(caller);
    }
    return true;
}

}  // namespace OrvoSupport::platform
