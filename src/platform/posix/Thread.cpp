// Linux half of Thread; contract in platform/Thread.h.
#include "platform/Thread.h"

#include <limits.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <new>

#include "platform/posix/PosixThread.h"
#include "platform/posix/Sanitizers.h"
#include "platform/posix/Uninterrupted.h"

namespace OrvoSupport::platform {
namespace {

constexpr unsigned few = 4;
constexpr long millisecond = 1'000'000;
constexpr int longestWaitForRoom = 200;   // milliseconds
constexpr int longestWaitForEnd = 5'000;  // milliseconds

// Once the library is torn down, no later thread joins those that objects of the host still start.
std::atomic<bool> tornDown{false};

PosixThread& posix(Thread& thread) { return static_cast<PosixThread&>(thread); }

/// The last that the calling thread does for the library.
void leave(PosixThread& thread) {
    setLeaving(thread);
    thread.interruption.close();
    thread.ended.signal();
}

void* threadMain(void* argument) {
    struct Stay {
        PosixThread& thread;
        // Also when the C library ends the thread.
        ~Stay() {
            joinEndedThreads(few);  // so that of many that leave at once only the last ones are left
            leave(thread);
        }
    } const stay{*static_cast<PosixThread*>(argument)};
    threadOfLibrary = &stay.thread;
    stay.thread.interruption.open();
    stay.thread.exitCode = stay.thread.body(stay.thread.argument);
    return nullptr;
}

void pause() {
    const timespec time = {0, millisecond};
    ::nanosleep(&time, nullptr);
}

// The system may have no room for another thread only because some have not quite ended yet.
bool createThread(PosixThread& thread) {
    int error = ::pthread_create(&thread.id, nullptr, threadMain, &thread);
    for (int i = 0; error == EAGAIN && i < longestWaitForRoom && someAreLeaving(true); ++i) {
        pause();
        joinEndedThreads(UINT_MAX);
        error = ::pthread_create(&thread.id, nullptr, threadMain, &thread);
    }
    return error == 0;
}

/// What the host keeps for the thread would otherwise be found by the next one that gets this stack.
void forgetThreadSpecificData() {
    for (pthread_key_t key = 0; key < PTHREAD_KEYS_MAX; ++key) ::pthread_setspecific(key, nullptr);
}

}  // namespace

// The C library finds out by itself that a thread has ended in this way, and lets it be joined.
void endThisThreadOutright() noexcept {
    PosixThread& thread = *threadOfLibrary;
    thread.endedOutright = true;
    leaveWaitQueues();
    leave(thread);
    forgetStackOfThisThread();
    forgetThreadSpecificData();
    for (;;) ::syscall(SYS_exit, 0);
}

bool startThread(ThreadBody body, void* argument, std::atomic<Thread*>& place) noexcept {
    const Uninterrupted untilItIsStarted;
    joinEndedThreads(few);
    PosixThread* const thread = new (std::nothrow) PosixThread;
    if (!thread) return false;
    thread->handle = &thread->ended;
    thread->body = body;
    thread->argument = argument;
    addThread(*thread);
    place = thread;
    if (createThread(*thread)) return true;
    place = nullptr;
    removeThread(*thread);
    delete thread;
    return false;
}

void suspendThread(Thread& thread) noexcept { posix(thread).interruption.suspend(); }

void resumeThread(Thread& thread) noexcept { posix(thread).interruption.resume(); }

bool setThreadPriority(Thread& thread, int level) noexcept {
    PosixThread& target = posix(thread);
    bool taken = false;
    target.interruption.withThreadId([&](pid_t id) { taken = target.priority.set(id, level); });
    return taken || level == 0;
}

void killThread(Thread& thread) noexcept {
    posix(thread).interruption.end();
    joinThread(posix(thread));
}

bool exitCodeOf(Thread& thread, int& exitCode) noexcept {
    exitCode = posix(thread).exitCode;
    return true;
}

void closeThread(Thread* thread) noexcept {
    const Uninterrupted untilItIsClosed;
    if (thread) dropThread(posix(*thread));
    if (tornDown)
        waitForLeavingThreads();
    else
        joinEndedThreads(few);
}

void announceReturn() noexcept {
    if (threadOfLibrary) setLeaving(*threadOfLibrary);
}

void waitForLeavingThreads() noexcept {
    tornDown = true;
    joinEndedThreads(UINT_MAX);
    for (int i = 0; i < longestWaitForEnd && someAreLeaving(false); ++i) {
        pause();
        joinEndedThreads(UINT_MAX);
    }
    if (noneIsThere()) removeInterruptionHandler();
}

bool otherThreadsAreGone() noexcept { return false; }

}  // namespace OrvoSupport::platform
