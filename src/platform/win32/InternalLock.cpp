// Win32 half of InternalLock; contract in platform/InternalLock.h.
#include "platform/InternalLock.h"

#include <windows.h>

namespace OrvoSupport::platform {

void InternalLock::lock() noexcept { ::AcquireSRWLockExclusive(reinterpret_cast<SRWLOCK*>(&m_state)); }

void InternalLock::unlock() noexcept { ::ReleaseSRWLockExclusive(reinterpret_cast<SRWLOCK*>(&m_state)); }

}  // namespace OrvoSupport::platform
