// Win32 half of CurrentThreadId; contract in platform/CurrentThreadId.h.
#include "platform/CurrentThreadId.h"

#include <windows.h>

namespace OrvoSupport::platform {

int currentThreadId() { return static_cast<int>(::GetCurrentThreadId()); }

}  // namespace OrvoSupport::platform
