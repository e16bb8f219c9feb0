// A mutex that is given up in the same step in which a wait begins.
#ifndef OSUPT_PLATFORM_SYNC_MUTEX_H
#define OSUPT_PLATFORM_SYNC_MUTEX_H

#include "platform/Wait.h"

namespace OrvoSupport::platform {

/// The mutex as the system knows it. It is recursive for the thread that holds it, and whoever comes next
/// gets it when that thread has ended in whatever way. Nothing waits for it but the functions below.
using MutexHandle = void*;

/// A new mutex that nobody holds; null when the system has none left.
MutexHandle createMutex() noexcept;

/// Null is ignored. Nobody should be waiting for it any more.
void closeMutex(MutexHandle mutex) noexcept;

/// Waits without a time limit.
void lockMutex(MutexHandle mutex) noexcept;

/// Gives up one hold; a thread that has none changes nothing.
void unlockMutex(MutexHandle mutex) noexcept;

/// Gives up one hold and waits for the event without a time limit. There is no moment in between: whoever
/// takes the mutex next finds this thread among those who wait. The calling thread must hold the mutex, and
/// does not take it again.
void unlockMutexAndWait(MutexHandle mutex, WaitHandle event) noexcept;

}  // namespace OrvoSupport::platform

#endif
