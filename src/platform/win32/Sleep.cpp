// Win32 half of Sleep; contract in platform/Sleep.h.
#include "platform/Sleep.h"

#include <windows.h>

namespace OrvoSupport::platform {

void sleepFor(int milliseconds) { ::Sleep(static_cast<DWORD>(milliseconds)); }

}  // namespace OrvoSupport::platform
