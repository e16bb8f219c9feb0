// Timers by the system's own clocks. When and in which order they fire: TimerFiringTest.cpp.
#include "OrvoTimer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>

#include "support/ChildProcess.h"
#include "threads/TimerTests.h"

namespace {

using namespace timer_tests;

void nap(int milliseconds = 1) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

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
    stopForGood(timer);
    EXPECT_EQ(-2, timer.wait(200));
}

TEST(OrvoTimerTest, countsSecondsByTheCalendar) {
    OrvoTimer timer;
    const auto before = std::chrono::steady_clock::now();
    timer.start(1, 0, true);
    EXPECT_EQ(0, timer.wait(limit));
    EXPECT_LE(std::chrono::milliseconds(990), std::chrono::steady_clock::now() - before);
}

TEST(OrvoTimerTest, anEarlierOneWakesTheThreadThatSleepsForAnother) {
    OrvoTimer later, sooner;
    later.start(3600, 0, true);
    nap(20);
    sooner.start(30, true);
    EXPECT_EQ(0, sooner.wait(limit));
    EXPECT_EQ(-2, later.wait(0));
}

/// A timer whose handler waits until it may go on.
struct Held {
    Held() { timer->addDependent(handler); }
    std::unique_ptr<OrvoTimer> timer = std::make_unique<OrvoTimer>();
    OrvoEvent entered, mayLeave;
    std::atomic<bool> left{false};
    Acting handler{[this] {
        entered.set();
        EXPECT_EQ(0, mayLeave.wait(limit));
        left = true;
    }};
};

TEST(OrvoTimerTest, stopDoesNotWaitForTheHandlers) {
    Held held;
    held.timer->start(10, false);
    ASSERT_EQ(0, held.entered.wait(limit));
    held.timer->stop();
    EXPECT_FALSE(held.left);
    held.mayLeave.set();
    EXPECT_EQ(0, held.timer->wait(limit));
    EXPECT_EQ(-2, held.timer->wait(100)) << "the repetition that was under way is stopped too";
}

TEST(OrvoTimerTest, destructionWaitsForTheHandlersOfThisTimerOnly) {
    Held held;
    OrvoTimer other;
    other.start(3600, 0, true);
    held.timer->start(10, true);
    ASSERT_EQ(0, held.entered.wait(limit));
    { OrvoTimer third(10, false); }
    other.stop();
    std::atomic<bool> gone{false};
    std::thread destroyer([&] {
        held.timer.reset();
        EXPECT_TRUE(held.left);
        gone = true;
    });
    nap(150);
    EXPECT_FALSE(gone);
    held.mayLeave.set();
    destroyer.join();
}

TEST(OrvoTimerTest, nothingElseFiresWhileAHandlerRuns) {
    Held held;
    OrvoTimer other;
    held.timer->start(10, true);
    ASSERT_EQ(0, held.entered.wait(limit));
    other.start(-1, 1, true);
    EXPECT_EQ(-2, other.wait(100));
    held.mayLeave.set();
    EXPECT_EQ(0, other.wait(limit));
}

/// Fires a timer of its own, which never comes to an end.
struct Stuck : OrvoThread {
    struct Timer : OrvoTimer {
        void set() override {
            entered.set();
            for (;;) ++turns;
        }
        OrvoEvent entered;
        std::atomic<unsigned> turns{0};
    };
    using OrvoThread::run;
    int run() override {
        timer.start(-1, 1, true);
        return 0;
    }
    Timer timer;
};

TEST(OrvoTimerTest, othersFireOnAfterTheThreadThatFiredWasKilled) {
    {
        Stuck stuck;
        stuck.start();
        ASSERT_EQ(0, stuck.timer.entered.wait(limit));
        OrvoTimer before(100, false);
        before.reset();  // armed while that pass is under way
        stuck.kill();
        EXPECT_EQ(0, before.wait(limit));
    }
    OrvoTimer after(10, true);
    after.reset();
    EXPECT_EQ(0, after.wait(limit));
}

TEST(OrvoTimerTest, aTimerThatAKilledThreadWasFiringCanBeDestroyed) {
    Stuck stuck;
    stuck.start();
    ASSERT_EQ(0, stuck.timer.entered.wait(limit));
    stuck.kill();
}

/// Fires a timer on the calling thread ("here") or on the library's, and gives that time to end the process.
int fire(const std::string& where, Acting&& handler) {
    OrvoTimer timer;
    timer.addDependent(handler);
    if (where == "here")
        timer.start(-1, 1, true);
    else
        timer.start(1, true);
    nap(limit);
    return 0;
}

OSUPT_CHILD(throwFromHandler) {
    return fire(arguments.front(), Acting([] { throw std::runtime_error("not ours"); }));
}

TEST(OrvoTimerTest, anyOtherExceptionEndsTheProcess) {
    for (const char* where : {"here", "there"}) {
        testing_support::ChildProcess child("throwFromHandler", {where});
        const int code = child.wait();
        EXPECT_NE(0, code) << where;
        EXPECT_NE(-1, code) << where;
    }
}

OSUPT_CHILD(exitFromHandler) {
    return fire(arguments.front(), Acting([] { std::exit(7); }));
}

TEST(OrvoTimerTest, aHandlerMayEndTheProcess) {
    for (const char* where : {"here", "there"}) {
        testing_support::ChildProcess child("exitFromHandler", {where});
        EXPECT_EQ(7, child.wait()) << where;
    }
}

/// Goes on with timers while the process ends, on threads and in a static object's destructor.
OSUPT_CHILD(endAmongTimers) {
    struct Late {
        ~Late() {
            timer.start(1, false);
            timer.start(-1, 1, true);
            timer.stop();
        }
        OrvoTimer timer{5, false};
    };
    static Late late;
    late.timer.reset();
    for (int i = 0; i < 4; ++i) {
        std::thread([i] {
            for (;;) {
                OrvoTimer timer(i + 1, false);
                timer.reset();
                timer.wait(i);
            }
        }).detach();
    }
    nap(50);
    std::exit(9);
}

TEST(OrvoTimerTest, theProcessMayEndWhileTimersComeAndGo) {
    for (int i = 0; i < 5; ++i) {
        testing_support::ChildProcess child("endAmongTimers");
        EXPECT_EQ(9, child.wait());
    }
}

}  // namespace
