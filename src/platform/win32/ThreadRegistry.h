// The threads that the library has started, until the system has ended them.
#ifndef OSUPT_PLATFORM_WIN32_THREAD_REGISTRY_H
#define OSUPT_PLATFORM_WIN32_THREAD_REGISTRY_H

#include <windows.h>

#include <atomic>

#include "platform/Thread.h"

namespace OrvoSupport::platform {

/// One thread. It outlives the hold on it, because at the unloading of the library somebody has to know
/// whether the thread has left it.
struct Win32Thread : Thread {
    enum class Phase {
        coming,  // the system prepares it
        inBody,
        goingHome,  // the work is over
        left,       // nothing but the return to the system is left to do
    };

    ThreadBody body = nullptr;
    void* argument = nullptr;
    DWORD id = 0;
    std::atomic<Phase> phase{Phase::coming};
    std::atomic<int> internalLocks{0};  // see Uninterrupted.h
    std::atomic<bool> starting{true};   // whoever starts it looks at it
    bool closed = false;                // the handle is closed, and nobody holds the thread
    Win32Thread* next = nullptr;
    Win32Thread** link = nullptr;  // what points here
};

/// Creates the thread, suspended, and knows it from now on. False when the system has none left.
bool enterRegistry(Win32Thread& thread) noexcept;

/// After the thread was resumed, on the thread that starts it: returns when it has come to its body, or after
/// a second. A thread comes to it under the lock of the loader, so that one which is still on its way when a
/// module is unloaded could not be waited for. Where the calling thread has that lock itself it does not
/// wait. The thread may have been closed meanwhile.
void awaitBeginning(Win32Thread& thread) noexcept;

/// Closes the handle. The thread is known until it has ended; then it is deleted.
void leaveRegistry(Win32Thread& thread) noexcept;

}  // namespace OrvoSupport::platform

#endif
