// A thread of the system that runs code of the library.
#ifndef OSUPT_PLATFORM_THREAD_H
#define OSUPT_PLATFORM_THREAD_H

#include <atomic>

#include "platform/Wait.h"

namespace OrvoSupport::platform {

/// The library's hold on one thread, from startThread() until closeThread(). The platform derives from it.
struct Thread {
    WaitHandle handle;  // signalled once the thread has ended; a host may be given its address
    // For the thread object, which closes no hold while somebody uses it.
    int users = 0;
    Thread* nextRetired = nullptr;
};

/// What a thread runs. The result is its exit code for the system.
using ThreadBody = int (*)(void* argument);

/// Starts a thread that calls body(argument). `place` is set before the thread takes its first step, so that
/// a body which destroys whatever holds `place` leaves the starter nothing to touch. Returns false, with
/// `place` null, when the system has no thread left.
bool startThread(ThreadBody body, void* argument, std::atomic<Thread*>& place) noexcept;

/// Suspends the thread where it stands, at the latest when it leaves the library's own short locks, and
/// returns when it stands still. Suspensions are counted. A thread that has ended ignores it, as it does
/// the others.
void suspendThread(Thread& thread) noexcept;
void resumeThread(Thread& thread) noexcept;

/// Takes a level of SetThreadPriority() (-15, -2 to 2, 15). False when the system refuses.
bool setThreadPriority(Thread& thread, int level) noexcept;

/// Ends the thread at once with exit code 0, suspended or not, whatever it does, and returns when it has
/// ended; the calling thread may end itself that way. Nothing is unwound. Locks that it held count as
/// abandoned, queues in which it waited know it no longer, and none of the library's own short locks is left
/// behind.
void killThread(Thread& thread) noexcept;

/// What the body returned, once the thread has ended. False when the system cannot tell.
bool exitCodeOf(Thread& thread, int& exitCode) noexcept;

/// Gives up the hold. The thread goes on, if it has not ended, and leaves nothing behind when it ends.
void closeThread(Thread* thread) noexcept;

/// The calling thread's work is over: if it runs a body, it has only the way home before it, of which code of
/// the host may still be a part (handlers, destructors).
void announceReturn() noexcept;

/// Returns when no thread whose body has returned, or that has announced it, has an instruction of the
/// library left to execute. For the unloading of the library, where on Windows nobody may wait for the end of
/// a thread; does nothing when the process ends and the threads are gone already. Code of the host on the way
/// home may be waiting for the unloading thread in turn, and a suspended thread does not come home at all:
/// for them it waits some seconds only.
void waitForLeavingThreads() noexcept;

/// True while the process ends and all other threads are gone already.
bool otherThreadsAreGone() noexcept;

}  // namespace OrvoSupport::platform

#endif
