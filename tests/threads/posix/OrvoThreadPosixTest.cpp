// Threads where only Linux goes: how they are stopped and ended there, whatever they do.
#include "OrvoThread.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include "OrvoCriticalSection.h"
#include "OrvoEvent.h"

namespace {

using namespace OrvoSupport;

class Worker : public OrvoThread {
public:
    explicit Worker(std::function<int()> work) : m_work(std::move(work)) {}

protected:
    using OrvoThread::run;
    int run() override { return m_work(); }

private:
    std::function<int()> m_work;
};

void nap() { std::this_thread::sleep_for(std::chrono::milliseconds(1)); }

std::atomic<unsigned> counter{0};

/// Counts for ever.
int count() {
    for (;;) ++counter;
}

bool stands() {
    const unsigned before = counter;
    for (int i = 0; i < 20; ++i) std::this_thread::yield();
    nap();
    return counter == before;
}

void waitUntilItCounts() {
    const unsigned before = counter;
    while (counter == before) std::this_thread::yield();
}

TEST(OrvoThreadPosixTest, stopHoldsAComputingThreadAndStartLetsItGo) {
    Worker thread(count);
    thread.setMarkForKill();
    thread.start();
    for (int i = 0; i < 50; ++i) {
        waitUntilItCounts();
        thread.stop();
        const unsigned standing = counter;
        nap();
        EXPECT_EQ(standing, counter);
        thread.start();
    }
    waitUntilItCounts();
}

TEST(OrvoThreadPosixTest, stopsNest) {
    Worker thread(count);
    thread.setMarkForKill();
    thread.start();
    waitUntilItCounts();
    for (int i = 0; i < 3; ++i) thread.stop();
    EXPECT_TRUE(stands());
    for (int i = 0; i < 2; ++i) {
        thread.start();
        EXPECT_TRUE(stands());
    }
    thread.start();
    waitUntilItCounts();
}

TEST(OrvoThreadPosixTest, killEndsAComputingThreadAndStartMakesAnother) {
    Worker thread(count);
    for (int i = 0; i < 100; ++i) {
        thread.start();
        if (i % 2 == 0) waitUntilItCounts();
        if (i % 3 == 0) thread.stop();
        thread.kill();
        EXPECT_FALSE(thread.isAlive());
        ASSERT_TRUE(stands());
    }
}

}  // namespace
