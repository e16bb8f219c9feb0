// Stopping threads where they stand, and priorities.
#include <gtest/gtest.h>

#include <memory>

#include "threads/TestThreads.h"

namespace {

using namespace thread_tests;

TEST(OrvoThreadStopTest, aStoppedThreadStandsStillUntilItIsStarted) {
    Counter counter;
    WorkThread thread([&] { return counter.count(); });
    thread.setMarkForKill();
    thread.start();
    ASSERT_TRUE(counter.runs());
    for (int i = 0; i < 5; ++i) {
        thread.stop();
        EXPECT_TRUE(counter.stands());
        EXPECT_TRUE(thread.isAlive());
        EXPECT_EQ(timedOut, thread.wait(1));
        EXPECT_EQ(-1, thread.getExitCode());
        thread.start();
        ASSERT_TRUE(counter.runs());
    }
}

TEST(OrvoThreadStopTest, stopsNest) {
    Counter counter;
    WorkThread thread([&] { return counter.count(); });
    thread.setMarkForKill();
    thread.start();
    ASSERT_TRUE(counter.runs());
    thread.stop();
    thread.stop();
    thread.stop();
    thread.start();
    EXPECT_TRUE(counter.stands());
    thread.start();
    EXPECT_TRUE(counter.stands());
    thread.start();
    EXPECT_TRUE(counter.runs());
}

TEST(OrvoThreadStopTest, startsAreNotSavedUp) {
    Counter counter;
    WorkThread thread([&] { return counter.count(); });
    thread.setMarkForKill();
    thread.start();
    thread.start();
    thread.start();
    ASSERT_TRUE(counter.runs());
    thread.stop();
    EXPECT_TRUE(counter.stands());
}

TEST(OrvoThreadStopTest, aThreadMayBeStoppedBeforeItsFirstStep) {
    std::atomic<int> runs{0};
    for (int i = 0; i < 50; ++i) {
        WorkThread thread([&] { return ++runs; });
        thread.start();
        thread.stop();
        thread.start();
        ASSERT_TRUE(until([&] { return thread.wait(generousMs) == nothingToWaitFor; }));
    }
    EXPECT_EQ(50, runs);
}

TEST(OrvoThreadStopTest, aThreadThatStopsItselfGoesOnWhenItIsStarted) {
    std::atomic<int> step{0};
    std::atomic<OrvoThread*> self{nullptr};
    WorkThread thread([&] {
        step = 1;
        self.load()->stop();
        step = 2;
        return 4;
    });
    self = &thread;
    thread.start();
    ASSERT_TRUE(until([&] { return step == 1; }));
    letOthersRun();
    EXPECT_EQ(1, step);
    EXPECT_TRUE(until([&] {
        thread.start();
        return thread.wait(1) == nothingToWaitFor;
    }));
    EXPECT_EQ(2, step);
    EXPECT_EQ(4, thread.getExitCode());
}

TEST(OrvoThreadStopTest, aThreadThatHasEndedIsNotStopped) {
    OrvoThread thread;
    thread.start();
    ASSERT_TRUE(until([&] { return thread.wait(-1) == nothingToWaitFor; }));
    thread.stop();
    thread.start();
    EXPECT_EQ(nothingToWaitFor, thread.wait(-1));
    EXPECT_EQ(0, thread.getExitCode());
}

TEST(OrvoThreadStopTest, aStoppedWaiterGetsItsSignalOnceItIsStarted) {
    OrvoEvent event;
    std::atomic<bool> waiting{false};
    WorkThread thread([&] { return waiting = true, event.wait(generousMs) + 1; });
    thread.start();
    ASSERT_TRUE(until([&] { return waiting.load(); }));
    letOthersRun();
    thread.stop();
    event.set();
    letOthersRun();
    EXPECT_EQ(-1, thread.getExitCode());
    thread.start();
    ASSERT_TRUE(until([&] { return thread.wait(-1) == nothingToWaitFor; }));
    EXPECT_EQ(1, thread.getExitCode());
}

TEST(OrvoThreadStopTest, threadsThatAllocateAreStoppedWithoutHoldingOthersUp) {
    std::atomic<bool> more{true};
    WorkThread thread([&] {
        while (more) delete[] new char[100];
        return 0;
    });
    thread.start();
    for (int i = 0; i < 100; ++i) {
        thread.stop();
        delete[] new char[100];
        thread.start();
    }
    more = false;
    EXPECT_TRUE(until([&] { return thread.wait(-1) == nothingToWaitFor; }));
}

TEST(OrvoThreadStopTest, priorityIsSetOnAThreadThatExists) {
    static_assert(OrvoThread::PriorityAboveNormal == 0 && OrvoThread::PriorityBelowNormal == 1 &&
                  OrvoThread::PriorityHighest == 2 && OrvoThread::PriorityIdle == 3 &&
                  OrvoThread::PriorityLowest == 4 && OrvoThread::PriorityNormal == 5 &&
                  OrvoThread::PriorityTimeCritical == 6);
    Door door;
    WorkThread thread([&] { return door.pass(); });
    thread.start();
    EXPECT_TRUE(thread.setPriority(OrvoThread::PriorityNormal));
    EXPECT_TRUE(thread.setPriority(static_cast<OrvoThread::t_Priority>(7)));  // counts as normal
    door.open();
    thread.wait(generousMs);
}

}  // namespace
