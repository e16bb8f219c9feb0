// A thread as the Linux half knows it.
#ifndef OSUPT_PLATFORM_POSIX_POSIX_THREAD_H
#define OSUPT_PLATFORM_POSIX_POSIX_THREAD_H

#include <pthread.h>

#include <atomic>

#include "platform/Thread.h"
#include "platform/posix/Interruption.h"
#include "platform/posix/ThreadList.h"
#include "platform/posix/ThreadPriority.h"
#include "platform/posix/Waitable.h"

namespace OrvoSupport::platform {

/// Held by the thread object and by the thread itself, whose hold is given up by whoever joins it. The chain
/// and what follows it is guarded by the lock of the list.
struct PosixThread : Thread {
    std::atomic<int> holds{2};
    ThreadBody body = nullptr;
    void* argument = nullptr;
    int exitCode = 0;  // what the body returned
    pthread_t id = {};
    Waitable ended{Waitable::Release::all};
    Interruption interruption;
    ThreadPriority priority;

    ThreadChain* chain = nullptr;  // the one it stands in
    PosixThread* previous = nullptr;
    PosixThread* next = nullptr;
    bool endedOutright = false;  // so that no code of the host runs on it any more
};

}  // namespace OrvoSupport::platform

#endif
