// Waiting for what can be signalled: events, and whatever else the system lets a thread wait for.
#ifndef OSUPT_PLATFORM_WAIT_H
#define OSUPT_PLATFORM_WAIT_H

#include <cstddef>

namespace OrvoSupport::platform {

/// Whatever can be waited for, as the system knows it: a HANDLE on Windows, the library's own waitable
/// elsewhere. Null is never valid.
using WaitHandle = void*;

/// As many as one wait takes.
constexpr std::size_t maxWaitHandles = 64;

/// What a wait answers: a signalled handle gives its index in the list (0 for a single one), an abandoned one
/// that plus waitAbandoned; these are the numbers of the Win32 calls.
constexpr int waitAbandoned = 128;
constexpr int waitTimedOut = 258;
constexpr int waitFailed = -1;

/// Waits until `handle` is signalled and takes the signal if it is of the kind that releases one waiter.
/// A time-out of 0 asks without waiting, -1 waits for ever, and any other value counts as unsigned
/// milliseconds of a clock that nobody sets. Signals go to waiters in the order in which they came.
int waitForOne(WaitHandle handle, int timeoutMs) noexcept;

/// Waits until one or (with `all`) every handle of the list is signalled at the same moment. Waiting for all
/// takes nothing until it can take everything and answers 0; waiting for any answers the first signalled
/// one in list order and takes only that. Fails for an empty list, for more than maxWaitHandles and for a
/// null handle. A list of which all are wanted names no handle twice.
int waitForSeveral(const WaitHandle* handles, std::size_t count, bool all, int timeoutMs) noexcept;

}  // namespace OrvoSupport::platform

#endif
