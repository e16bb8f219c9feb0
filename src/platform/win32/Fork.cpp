// Win32 half of Fork; contract in platform/Fork.h. Processes are not forked here.
#include "platform/Fork.h"

namespace OrvoSupport::platform {

bool callAroundFork(void (*)(), void (*)(), void (*)()) noexcept { return true; }

}  // namespace OrvoSupport::platform
