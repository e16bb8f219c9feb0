// Linux half of Thread; contract in platform/Thread.h.
#include "platform/Thread.h"

#include <pthread.h>

#include <new>

#include "platform/posix/Waitable.h"

namespace OrvoSupport::platform {
namespace {

struct PosixThread : Thread {
    Waitable ended{Waitable::Release::all};
    ThreadBody body;
    void* argument;
    std::atomic<int> holds{2};
};

void drop(PosixThread* thread) {
    if (--thread->holds == 0) delete thread;
}

void* threadMain(void* argument) {
    PosixThread* const thread = static_cast<PosixThread*>(argument);
    thread->body(thread->argument);
    thread->ended.signal();
    drop(thread);
    return nullptr;
}

}  // namespace

bool startThread(ThreadBody body, void* argument, std::atomic<Thread*>& place) noexcept {
    PosixThread* const thread = new (std::nothrow) PosixThread;
    if (!thread) return false;
    thread->handle = &thread->ended;
    thread->body = body;
    thread->argument = argument;
    place = thread;
    pthread_t id;
    if (::pthread_create(&id, nullptr, threadMain, thread) != 0) {
        place = nullptr;
        delete thread;
        return false;
    }
    ::pthread_detach(id);
    return true;
}

void suspendThread(Thread&) noexcept {}
void resumeThread(Thread&) noexcept {}
bool setThreadPriority(Thread&, int) noexcept { return false; }
void killThread(Thread&) noexcept {}

void closeThread(Thread* thread) noexcept {
    if (thread) drop(static_cast<PosixThread*>(thread));
}

void waitForLeavingThreads() noexcept {}
bool otherThreadsAreGone() noexcept { return false; }

}  // namespace OrvoSupport::platform
