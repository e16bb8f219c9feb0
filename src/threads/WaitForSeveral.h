// Waiting for several objects at once: what events and threads have in common.
#ifndef OSUPT_THREADS_WAIT_FOR_SEVERAL_H
#define OSUPT_THREADS_WAIT_FOR_SEVERAL_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

#include "platform/Wait.h"

namespace OrvoSupport {

/// Waits for `count` objects; handleOf(i) gives the cell with the handle of object i, or null when it has
/// none. Answers 0 for all, the platform's answer (an index) for any, -1 for a list that cannot be waited for
/// or a failed wait, -2 when the time ran out, -4 when there is no memory.
template <class HandleOf>
int waitForSeveral(std::size_t count, const HandleOf& handleOf, bool waitAll, int timeoutMs) {
    using platform::WaitHandle;
    if (count == 0 || count > platform::maxWaitHandles) return -1;
    const std::unique_ptr<WaitHandle[]> handles(new (std::nothrow) WaitHandle[count]);
    if (!handles) return -4;
    for (std::size_t i = 0; i < count; ++i) {
        const WaitHandle* const cell = handleOf(i);
        handles[i] = cell ? *cell : nullptr;
        if (!handles[i]) return -1;
        // One signal cannot be taken twice. Not every system notices by itself.
        if (waitAll && std::find(&handles[0], &handles[i], handles[i]) != &handles[i]) return -1;
    }
    const int result = platform::waitForSeveral(handles.get(), count, waitAll, timeoutMs);
    if (result == platform::waitFailed) return -1;
    if (result == platform::waitTimedOut) return -2;
    return waitAll ? 0 : result;
}

}  // namespace OrvoSupport

#endif
