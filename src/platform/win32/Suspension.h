// Threads that are made to stand still, and where they stand.
#ifndef OSUPT_PLATFORM_WIN32_SUSPENSION_H
#define OSUPT_PLATFORM_WIN32_SUSPENSION_H

#include <windows.h>

#include "platform/InternalLock.h"

namespace OrvoSupport::platform {

/// Serialises those who suspend threads, so that no two of them can suspend each other.
extern InternalLock suspendingLock;

/// Where a suspended thread stands.
struct Standing {
    const void* instruction = nullptr;
    const void* const* stack = nullptr;
    bool wasSuspended = false;  // by somebody else, before
};

/// Suspends a thread and returns when it stands still. False when it has ended. The caller holds
/// suspendingLock, and neither allocates nor takes another lock before the thread is resumed.
bool suspendNow(HANDLE thread, Standing& standing) noexcept;

/// True when the thread stands in the module (a DLL or the program) that the address belongs to.
bool standsInModuleOf(const Standing& standing, const void* address) noexcept;

/// True when the thread stands inside the system's own library, where it may hold one of its locks, such as
/// that of a heap, or be in the queue for one. A wait or sleep that other code asked for does not count.
bool standsInSystemWork(const Standing& standing) noexcept;

}  // namespace OrvoSupport::platform

#endif
