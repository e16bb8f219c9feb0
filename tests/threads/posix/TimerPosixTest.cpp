// Timers and what only Linux has: forks, and threads that cancel themselves.
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "OrvoTimer.h"
#include "support/Sanitizers.h"
#include "threads/TimerTests.h"

namespace {

using namespace timer_tests;
using testing_support::addressSanitizer;
using testing_support::threadSanitizer;

/// The exit code of a forked child that does this; the child is given half a minute.
int inChild(const std::function<int()>& action) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(30);
        ::_exit(action());
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

constexpr const char* noThreadsInChildren = "the thread sanitizer ends forked children that start a thread";

/// 0 when a timer can be started, fires, and is destroyed in this process.
int useTimer() {
    OrvoTimer timer(5, false);
    timer.reset();
    for (int i = 0; i < 3; ++i)
        if (timer.wait(limit) != 0) return 1;
    return 0;
}

TEST(TimerPosixTest, aForkedChildHasNoTimerStartedAndMayStartThemAgain) {
    if (threadSanitizer) GTEST_SKIP() << noThreadsInChildren;
    OrvoTimer timer(50, false);
    timer.reset();
    ASSERT_EQ(0, timer.wait(limit));
    const int code = inChild([&] {
        timer.reset();
        stopForGood(timer);
        if (timer.wait(200) != -2) return 10;
        timer.reset();
        if (timer.wait(limit) != 0) return 11;
        return useTimer();
    });
    EXPECT_EQ(0, code);
    EXPECT_EQ(0, timer.wait(limit));  // the parent's goes on
}

TEST(TimerPosixTest, aChildWhoseTimersAreNotStartedSeesNoneFire) {
    OrvoTimer timer(20, false);
    timer.reset();
    EXPECT_EQ(0, inChild([&] {
                  timer.wait(0);
                  return timer.wait(200) == -2 ? 0 : 1;
              }));
}

TEST(TimerPosixTest, aChildMayUseTimersWhateverTheOthersDidAtTheFork) {
    if (threadSanitizer) GTEST_SKIP() << noThreadsInChildren;
    if (addressSanitizer)
        GTEST_SKIP() << "its heap is left locked in a child that is forked while others use it";
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            OrvoTimer timer;
            while (!stop) {
                timer.start(-1, 1, true);
                timer.start(1, false);
            }
        });
    }
    for (int i = 0; i < 20; ++i) EXPECT_EQ(0, inChild(useTimer)) << i;
    stop = true;
    for (std::thread& thread : threads) thread.join();
}

TEST(TimerPosixTest, aHandlerMayFork) {
    for (const long seconds : {-1L, 0L}) {  // on this thread, and on the library's
        auto timer = std::make_unique<OrvoTimer>();
        OrvoEvent done;
        int code = -1;
        Acting forker([&] {
            code = inChild([&] {
                timer.reset();  // it is its own handler in the child too
                return 0;
            });
            done.set();
        });
        timer->addDependent(forker);
        timer->start(seconds, 1, true);
        ASSERT_EQ(0, done.wait(limit));
        EXPECT_EQ(0, code);
    }
    EXPECT_EQ(0, useTimer());
}

TEST(TimerPosixTest, aHandlerThatCancelsItsThreadLeavesTheOthersInOrder) {
    OrvoTimer other(100, false);
    other.reset();
    OrvoTimer timer;
    Acting leaver([] { ::pthread_exit(nullptr); });
    timer.addDependent(leaver);
    timer.start(1, true);  // on the library's thread
    for (int i = 0; i < 3; ++i) EXPECT_EQ(0, other.wait(limit));
    std::thread([&] {
        pthread_t id;
        ::pthread_create(
            &id, nullptr,
            [](void* own) -> void* {
                static_cast<OrvoTimer*>(own)->start(-1, 1, true);
                return nullptr;
            },
            &timer);
        ::pthread_join(id, nullptr);
    }).join();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(0, other.wait(limit));
    EXPECT_EQ(-2, timer.wait(0));
}

}  // namespace
