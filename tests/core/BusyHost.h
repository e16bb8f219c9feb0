// What a test and the busy host in its plug-in tell each other.
#ifndef TESTS_CORE_BUSY_HOST_H
#define TESTS_CORE_BUSY_HOST_H

#include <atomic>

/// Lives in the test program, since it is read when the plug-in is gone.
struct BusyHostReport {
    std::atomic<int> handlersEntered{0};
    std::atomic<int> handlersLeft{0};
    std::atomic<int> threadsEntered{0};
    std::atomic<int> threadsLeft{0};
    std::atomic<int> objectsReleased{0};
    std::atomic<int> failures{0};
    std::atomic<void (*)(void*)> keep{nullptr};  // takes what the host never destroys
};

/// What the host leaves to be dealt with when it is unloaded, or when the process ends. Bits.
enum BusyHostTask : unsigned {
    sleepingTimer = 1,      // due in a minute
    firingTimers = 2,       // due all the time; their handlers log
    slowHandler = 4,        // one that takes 200 ms is under way
    leakedTimers = 8,       // started, and never destroyed
    computingThread = 16,   // until its object is destroyed
    throwawayThreads = 32,  // which have just deleted their objects
    freshThread = 64,       // just started
    suspendedThread = 128,  // which is never destroyed
    openRecord = 256,       // on a thread that is there no more
    recordTimeout = 512,    // a thread that tries to end a record
    killedThread = 1024,
};

extern "C" {
/// The one export of the plug-in: begins all that; returns 0 when it could.
using BusyHostBegin = int(const char* logFile, unsigned tasks, BusyHostReport* report);
}

#endif
