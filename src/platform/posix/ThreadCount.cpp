// Linux half of ThreadCount; contract in src/platform/ThreadCount.h.
#include "platform/ThreadCount.h"

#include <sys/single_threaded.h>

namespace OrvoSupport::platform {

bool isOnlyThread() noexcept { return __libc_single_threaded; }

}  // namespace OrvoSupport::platform
