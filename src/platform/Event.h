// The system's events: one that releases a single waiter, and one that stays signalled.
#ifndef OSUPT_PLATFORM_EVENT_H
#define OSUPT_PLATFORM_EVENT_H

#include "platform/Wait.h"

namespace OrvoSupport::platform {

/// A new event, not signalled, that goes back to not signalled when it has released one waiter; null when the
/// system has none left. Writes made before it is set are visible to the thread whose wait it ends.
WaitHandle createEvent() noexcept;

/// A new event, not signalled, that releases every waiter and stays signalled until it is reset; null as
/// above.
WaitHandle createManualResetEvent() noexcept;

/// Null is ignored. Nobody should be waiting for it any more; who still is stays until its time is over.
void closeEvent(WaitHandle event) noexcept;

/// Releases the waiter that has waited longest, or stays signalled until there is one; all of them, and stays
/// signalled, if it is of the other kind.
void setEvent(WaitHandle event) noexcept;

void resetEvent(WaitHandle event) noexcept;

/// Releases at most one (of the other kind: all) of those who wait at this moment and leaves the event not
/// signalled.
void pulseEvent(WaitHandle event) noexcept;

}  // namespace OrvoSupport::platform

#endif
