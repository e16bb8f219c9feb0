// Timers by the system's own clocks. When and in which order they fire: TimerFiringTest.cpp.
#include "OrvoTimer.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

using namespace OrvoSupport;

constexpr int limit = 60'000;  // milliseconds, of whatever should come at once

TEST(OrvoTimerTest, firesAndReleasesTheWaiter) {
    OrvoTimer timer;
    const auto before = std::chrono::steady_clock::now();
    timer.start(200, true);
    EXPECT_EQ(0, timer.wait(limit));
    EXPECT_LE(std::chrono::milliseconds(199), std::chrono::steady_clock::now() - before);
    EXPECT_EQ(-2, timer.wait(300));
}

TEST(OrvoTimerTest, repeatsUntilStopped) {
    OrvoTimer timer(50, false);
    timer.reset();
    for (int i = 0; i < 5; ++i) EXPECT_EQ(0, timer.wait(limit));
    timer.stop();
    timer.wait(0);
    EXPECT_EQ(-2, timer.wait(200));
}

}  // namespace
