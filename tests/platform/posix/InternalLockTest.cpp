// The lock of the library's short sections, against threads that are stopped and ended, and against forks.
#include "platform/InternalLock.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/Thread.h"
#include "platform/posix/Uninterrupted.h"

namespace {

using namespace OrvoSupport::platform;
using Guard = std::lock_guard<InternalLock>;

InternalLock theLock;
long guarded = 0;
std::atomic<unsigned> passes{0};

TEST(InternalLockTest, letsOneThreadInAtATime) {
    constexpr int threadCount = 8;
    constexpr int rounds = 20000;
    guarded = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < rounds; ++i) {
                const Guard guard(theLock);
                ++guarded;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(threadCount * rounds, guarded);
}

/// Takes and gives back the lock for ever, two of them in each other.
int useLock(void*) {
    static InternalLock inner;
    for (;;) {
        const Guard guard(theLock);
        const Guard again(inner);
        ++passes;
    }
}

struct Running {
    Running() { EXPECT_TRUE(startThread(useLock, nullptr, place)); }
    ~Running() {
        killThread(*place);
        closeThread(place);
    }
    std::atomic<Thread*> place{nullptr};
};

void waitForPasses() {
    const unsigned before = passes;
    while (passes == before) std::this_thread::yield();
}

TEST(InternalLockTest, isNeverHeldByAStoppedThread) {
    const Running thread;
    for (int i = 0; i < 500; ++i) {
        waitForPasses();
        suspendThread(*thread.place);
        {
            const Guard guard(theLock);
            const unsigned before = passes;
            std::this_thread::yield();
            EXPECT_EQ(before, passes);
        }
        resumeThread(*thread.place);
    }
}

TEST(InternalLockTest, isGivenBackByAThreadThatIsEnded) {
    for (int i = 0; i < 200; ++i) {
        {
            const Running thread;
            if (i % 2 == 0) waitForPasses();
        }
        const Guard guard(theLock);
    }
}

TEST(InternalLockTest, waitersAreWokenWhoeverIsEnded) {
    const Running first;
    for (int i = 0; i < 100; ++i) {
        const Running second;
        waitForPasses();
    }
}

TEST(InternalLockTest, isFreeInAChildThoughAThreadOfTheParentHoldsIt) {
    std::atomic<int> step{0};
    std::thread holder([&] {
        const Guard guard(theLock);
        step = 1;
        while (step != 2) std::this_thread::yield();
    });
    while (step != 1) std::this_thread::yield();
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(60);
        for (int i = 0; i < 3; ++i) {
            const Guard guard(theLock);
        }
        ::_exit(0);
    }
    int status = -1;
    EXPECT_EQ(child, ::waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    step = 2;
    holder.join();
}

TEST(InternalLockTest, stopsAreHeldUpByUninterruptedStretches) {
    static std::atomic<int> step;
    step = 0;
    std::atomic<Thread*> place{nullptr};
    const ThreadBody body = [](void*) {
        {
            const Uninterrupted outer;
            {
                const Uninterrupted inner;
                step = 1;
                while (!interruptibility.pending) std::this_thread::yield();
            }
            step = 2;
        }
        step = 3;
        return 0;
    };
    ASSERT_TRUE(startThread(body, nullptr, place));
    while (step != 1) std::this_thread::yield();
    std::thread stopper([&] { suspendThread(*place); });
    stopper.join();
    EXPECT_EQ(2, step);
    resumeThread(*place);
    EXPECT_EQ(0, waitForOne(place.load()->handle, 30000));
    EXPECT_EQ(3, step);
    closeThread(place);
    waitForLeavingThreads();
}

}  // namespace
