// Threads that work whenever a timer fires.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "os/LogCapture.h"
#include "threads/TimerTests.h"

namespace {

using namespace timer_tests;

struct Worker : OrvoEventTimerThread {
    explicit Worker(OrvoTimer& timer) : OrvoEventTimerThread("worker of the tests", timer) {}
    void handleTimerEvent() override {
        thread = OrvoThread::getCurrentThreadId();
        ++count;
        worked.set();
    }
    std::atomic<int> count{0};
    std::atomic<int> thread{0};
    OrvoEvent worked;
};

struct Counter : OrvoDependent {
    void handleNotification(OrvoCollaborator&, const OrvoNotification&) override { ++told; }
    std::atomic<int> told{0};
};

void workOnce(Worker& worker, OrvoTimer& timer) {
    worker.start();
    timer.set();
    ASSERT_EQ(0, worker.worked.wait(limit));
}

const char destructor[] = "OrvoEventTimerThread::~OrvoEventTimerThread";

TEST(OrvoEventTimerThreadTest, worksOncePerFiringOnItsOwnThread) {
    OrvoTimer timer;
    Worker worker(timer);
    EXPECT_EQ("worker of the tests", worker.getName());
    worker.start();
    for (int i = 1; i <= 3; ++i) {
        timer.start(10, true);
        ASSERT_EQ(0, worker.worked.wait(limit));
        EXPECT_EQ(i, worker.count);
    }
    EXPECT_NE(OrvoThread::getCurrentThreadId(), worker.thread);
    EXPECT_TRUE(worker.isAlive());
}

/// Stops its timer itself: then nothing more is to come when the test destroys it.
struct FiveTimesWorker : Worker {
    explicit FiveTimesWorker(OrvoTimer& timer_) : Worker(timer_), timer(timer_) {}
    void handleTimerEvent() override {
        if (++count < 5) return;
        stopForGood(timer);
        worked.set();
    }
    OrvoTimer& timer;
};

TEST(OrvoEventTimerThreadTest, worksForARepeatingTimer) {
    OrvoTimer timer;
    FiveTimesWorker worker(timer);
    worker.start();
    timer.start(20, false);
    EXPECT_EQ(0, worker.worked.wait(limit));
    EXPECT_EQ(5, worker.count);
}

TEST(OrvoEventTimerThreadTest, aTimerThatFiresAtOnceDoesNotEndIt) {
    for (int i = 0; i < 50; ++i) {
        OrvoTimer timer;
        Worker worker(timer);
        timer.set();
        worker.start();
        ASSERT_EQ(0, worker.worked.wait(limit));
    }
}

TEST(OrvoEventTimerThreadTest, destructionWakesItAndTellsTheTimersDependentsOnceMore) {
    testing_support::LogCapture log;
    OrvoTimer timer;
    Counter counter;
    timer.addDependent(counter);
    {
        Worker worker(timer);
        workOnce(worker, timer);
    }
    EXPECT_EQ(2, counter.told);
    EXPECT_EQ(-2, timer.wait(0));
    const std::string name = destructor;
    const std::vector<std::string> expected{name + ": entering", name + ": setting exit event",
                                            name + ": waiting for thread to exit", name + ": exiting"};
    EXPECT_EQ(expected, log.records(name));
}

TEST(OrvoEventTimerThreadTest, destructionOfOneNeverStartedTouchesNothing) {
    testing_support::LogCapture log;
    OrvoTimer timer;
    Counter counter;
    timer.addDependent(counter);
    { Worker worker(timer); }
    EXPECT_EQ(0, counter.told);
    const std::string name = destructor;
    EXPECT_EQ((std::vector<std::string>{name + ": entering", name + ": exiting"}), log.records(name));
}

TEST(OrvoEventTimerThreadTest, belowLevelNineItWritesNothing) {
    testing_support::LogCapture log;
    OrvoLogging::getInstance().setLogLevel(8);
    OrvoTimer timer;
    {
        Worker worker(timer);
        workOnce(worker, timer);
    }
    EXPECT_TRUE(log.records("").empty());
}

TEST(OrvoEventTimerThreadTest, oneThatWasKilledIsDestroyedLikeOneNeverStarted) {
    OrvoTimer timer;
    Counter counter;
    timer.addDependent(counter);
    {
        Worker worker(timer);
        workOnce(worker, timer);
        worker.kill();
    }
    EXPECT_EQ(1, counter.told);
}

TEST(OrvoEventTimerThreadTest, oneWithAWorkItemEndsAtOnceAndIsDestroyedAllTheSame) {
    struct Item : OrvoWorkInformation {};
    OrvoTimer timer;
    Worker worker(timer);
    worker.setWorkInfo(new Item);
    worker.start();
    while (worker.wait(1000) == 258) {
    }
    EXPECT_EQ(0, worker.count);
}

}  // namespace
