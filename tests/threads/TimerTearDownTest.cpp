// What is left of timers once the library is being torn down, and timers whose firing thread goes away.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "OrvoException.h"
#include "OrvoTimer.h"
#include "support/ChildProcess.h"
#include "support/FakeTime.h"
#include "threads/OrvoTimerManager.h"

namespace {

using namespace OrvoSupport;
using namespace std::chrono_literals;
using testing_support::FakeTime;

// There is one manager to a process, so each case has a process of its own. They answer 0 when all is well.

OSUPT_CHILD(useTimersAfterwards) {
    OrvoTimer started(60, 0, false);
    started.reset();
    FakeTime::advance(1s);
    if (!FakeTime::hasWaiter()) return 1;
    OrvoTimerManager::deleteInstance();
    if (FakeTime::hasWaiter()) return 2;

    OrvoTimer timer;
    timer.start(1, 0, false);
    timer.start(-1, 1, true);
    started.reset();
    started.stop();
    FakeTime::advance(3600s);
    if (FakeTime::hasWaiter() || timer.wait(0) != -2 || started.wait(0) != -2) return 3;
    try {
        OrvoTimerManager::getInstance();
        return 4;
    } catch (const OrvoException& exception) {
        if (exception.getUText() != L"OrvoTimerManager::getInstance: Exiting system") return 5;
        if (exception.getCode() != 0) return 6;
    }
    return 0;
}

TEST(TimerTearDownTest, afterwardsTimersQuietlyDoNothing) {
    EXPECT_EQ(0, testing_support::ChildProcess("useTimersAfterwards").wait());
}

OSUPT_CHILD(tearDownWithoutTimers) {
    OrvoTimerManager::deleteInstance();
    OrvoTimer timer;
    timer.start(-1, 1, true);
    return timer.wait(0) == -2 ? 0 : 1;
}

TEST(TimerTearDownTest, needsNoTimerEverStarted) {
    EXPECT_EQ(0, testing_support::ChildProcess("tearDownWithoutTimers").wait());
}

OSUPT_CHILD(tearDownDuringAHandler) {
    OrvoEvent entered, mayLeave;
    struct Handler : OrvoDependent {
        Handler(OrvoEvent& entered_, OrvoEvent& mayLeave_) : entered(entered_), mayLeave(mayLeave_) {}
        void handleNotification(OrvoCollaborator&, const OrvoNotification&) override {
            entered.set();
            mayLeave.wait(-1);
            std::this_thread::sleep_for(50ms);
            left = true;
        }
        OrvoEvent &entered, &mayLeave;
        bool left = false;
    } handler(entered, mayLeave);
    OrvoTimer timer, other;
    timer.addDependent(handler);
    other.start(1, 0, true);
    timer.start(1, 0, false);
    std::thread time([] { FakeTime::advance(1s); });
    entered.wait(-1);
    mayLeave.set();
    OrvoTimerManager::deleteInstance();
    if (!handler.left) return 1;
    time.join();
    return FakeTime::hasWaiter() || other.wait(0) != -2 ? 2 : 0;
}

TEST(TimerTearDownTest, waitsForTheHandlerAndFiresNothingMore) {
    EXPECT_EQ(0, testing_support::ChildProcess("tearDownDuringAHandler").wait());
}

OSUPT_CHILD(tearDownFromAHandler) {
    struct Handler : OrvoDependent {
        void handleNotification(OrvoCollaborator&, const OrvoNotification&) override {
            OrvoTimerManager::deleteInstance();
        }
    } handler;
    OrvoTimer timer, other;
    timer.addDependent(handler);
    other.start(1, 0, true);
    timer.start(1, 0, false);
    FakeTime::advance(1s);
    return other.wait(0) == -2 && timer.wait(0) == 0 ? 0 : 1;
}

TEST(TimerTearDownTest, doesNotWaitForItself) {
    EXPECT_EQ(0, testing_support::ChildProcess("tearDownFromAHandler").wait());
}

}  // namespace
