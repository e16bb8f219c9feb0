// Win32 half of Wait; contract in src/platform/Wait.h.
#include "platform/Wait.h"

#include <windows.h>

namespace OrvoSupport::platform {
namespace {

static_assert(maxWaitHandles == MAXIMUM_WAIT_OBJECTS);
static_assert(waitAbandoned == WAIT_ABANDONED_0 && waitTimedOut == WAIT_TIMEOUT);
static_assert(waitFailed == static_cast<int>(WAIT_FAILED) && static_cast<DWORD>(-1) == INFINITE);

}  // namespace

int waitForOne(WaitHandle handle, int timeoutMs) noexcept {
    return static_cast<int>(::WaitForSingleObject(handle, static_cast<DWORD>(timeoutMs)));
}

int waitForSeveral(const WaitHandle* handles, std::size_t count, bool all, int timeoutMs) noexcept {
    if (count == 0 || count > maxWaitHandles) return waitFailed;
    const DWORD result = ::WaitForMultipleObjects(static_cast<DWORD>(count), handles, all ? TRUE : FALSE,
                                                  static_cast<DWORD>(timeoutMs));
    if (all && result < WAIT_OBJECT_0 + count) return 0;
    return static_cast<int>(result);
}

}  // namespace OrvoSupport::platform
