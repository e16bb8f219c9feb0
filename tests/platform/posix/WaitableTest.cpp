// Waitables where only Linux goes: in a child made by fork, and destroyed under a sleeper.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/Event.h"

namespace {

using namespace OrvoSupport::platform;

// What the child sees of two events that threads of its parent wait for; 0 when everything works.
int useInChild(WaitHandle one, WaitHandle other) {
    const std::array<WaitHandle, 2> both{one, other};
    if (waitForSeveral(both.data(), both.size(), false, 1) != waitTimedOut) return 1;
    setEvent(one);  // nobody waits here, so it stays
    if (waitForOne(one, 0) != 0) return 2;
    setEvent(other);
    setEvent(one);
    if (waitForSeveral(both.data(), both.size(), true, 1000) != 0) return 3;
    setEvent(one);
    pulseEvent(one);
    return waitForOne(one, 0) == waitTimedOut ? 0 : 4;
}

TEST(WaitableTest, aChildHasTheEventsToItself) {
    const WaitHandle one = createEvent();
    const WaitHandle other = createEvent();
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([&, t] {
            const std::array<WaitHandle, 2> both{one, other};
            while (!stop) waitForSeveral(both.data(), both.size(), t == 0, t == 1 ? 1 : 20);
        });
    }
    for (int i = 0; i < 20; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) ::_exit(useInChild(one, other));
        int status = -1;
        ASSERT_EQ(child, ::waitpid(child, &status, 0));
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(0, WEXITSTATUS(status));
    }
    stop = true;
    for (std::thread& thread : threads) thread.join();
    closeEvent(one);
    closeEvent(other);
}

// Whether the thread sleeps in a wait of the library: futex, FUTEX_WAIT_BITSET_PRIVATE.
bool sleeps(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/syscall");
    std::string call, word, operation;
    return file >> call >> word >> operation && operation == "0x89";
}

TEST(WaitableTest, oneThatIsDestroyedLeavesItsSleepersToTheOthers) {
    const WaitHandle gone = createEvent();
    const WaitHandle other = createEvent();
    std::atomic<pid_t> waiting{0};
    std::thread waiter([&] {
        const std::array<WaitHandle, 3> list{gone, other, gone};
        waiting = ::gettid();
        EXPECT_EQ(1, waitForSeveral(list.data(), list.size(), false, 20000));
    });
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    bool asleep = false;
    while (!asleep && std::chrono::steady_clock::now() < limit) asleep = sleeps(waiting);
    if (asleep) closeEvent(gone);
    setEvent(other);
    waiter.join();
    closeEvent(other);
    if (!asleep) {
        closeEvent(gone);
        GTEST_SKIP() << "this system does not show in which call a thread sleeps";
    }
}

}  // namespace
