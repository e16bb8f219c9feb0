// Win32 half of ThreadCount; contract in src/platform/ThreadCount.h.
#include "platform/ThreadCount.h"

namespace OrvoSupport::platform {

// The system starts threads of its own in any process and has no cheap way to ask for their number.
bool isOnlyThread() noexcept { return false; }

}  // namespace OrvoSupport::platform
