// What the time-out of an open record does when it comes. Its expiry is brought about by hand here.
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <type_traits>
#include <vector>

#include "logging/LogFixture.h"

using namespace OrvoSupport;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const string note =
    "OrvoLogging::timerElapsed: called (NOTE: This message only appears and repeats when LogLevel = 9)";

static_assert(std::is_base_of_v<OrvoThread, OrvoLoggingEventTimerThread> &&
              std::is_convertible_v<OrvoLoggingEventTimerThread*, OrvoThread*> &&
              !std::is_base_of_v<OrvoEventTimerThread, OrvoLoggingEventTimerThread>);

// Longer than a time-out tries to get the lock.
void letTimeoutsTry() { std::this_thread::sleep_for(std::chrono::milliseconds(250)); }

class TimedLogger : public OpenLogger {
public:
    using OpenLogger::OpenLogger;
    using OrvoLogging::cancelTimer;
    using OrvoLogging::resetTimer;
    using OrvoLogging::timerElapsed;

    // As the timer does it.
    void expire() {
        OrvoCollaborator timer;
        handleNotification(timer, OrvoEventNotification());
    }
};

class RecordTimeoutTest : public PlainLogFixture {
protected:
    RecordTimeoutTest() { timed.enableRecordData(false); }

    std::vector<string> timedLines() const { return linesOf(folder.file("timed.log")); }
    // Returns when the log of `timed` has so many lines.
    void awaitLines(std::size_t count) {
        while (timedLines().size() < count) std::this_thread::yield();
    }

    TimedLogger timed{folder.file("timed"), OrvoLogging::fileTarget, 9};
};

TEST_F(RecordTimeoutTest, endsARecordWhoseLockItGets) {
    timed.setLogLevel("Net", 4);
    timed << setloglevel("Net", 3) << "begun";
    timed.timerElapsed();  // the lock is this thread's own
    EXPECT_THAT(timedLines(), ElementsAre("begun"));
    std::thread([&] { timed << "another" << endrecord; }).join();
    EXPECT_THAT(timedLines(), ElementsAre("begun", "another"));
}

TEST_F(RecordTimeoutTest, tellsOfItselfAfterTheRecordItEndsAtLevelNineOnly) {
    OrvoLogging::setInstance(timed);
    timed << "begun";
    timed.timerElapsed();
    EXPECT_THAT(timedLines(), ElementsAre("begun", note));
    for (int level = 0; level < 9; ++level) {
        timed.setLogLevel(level);
        timed << setloglevel(0) << level;
        timed.timerElapsed();
    }
    EXPECT_EQ(11u, timedLines().size());
}

TEST_F(RecordTimeoutTest, tellsOfItselfAtLevelNineWithPrefixAndArea) {
    OrvoLogging::setInstance(timed);
    timed.enableRecordData(true);
    timed.timerElapsed();
    ASSERT_EQ(1u, timedLines().size());
    EXPECT_EQ("9 Global     [" + std::to_string(log_system::threadId()) + "] " + note,
              timedLines()[0].substr(18));
}

TEST_F(RecordTimeoutTest, tellsTheProcessWideLoggerWhicheverItIs) {
    OrvoLogging::setInstance(logger);
    timed.setLogLevel(3);
    timed << setloglevel(3) << "begun";
    timed.timerElapsed();
    EXPECT_THAT(timedLines(), ElementsAre("begun"));
    EXPECT_THAT(lines(), ElementsAre(note));
}

TEST_F(RecordTimeoutTest, tellsNobodyWithoutAProcessWideLogger) {
    timed.timerElapsed();
    OpenLogger silent(folder.file("silent"), OrvoLogging::fileTarget, -1);
    OrvoLogging::setInstance(silent);
    timed.timerElapsed();
    EXPECT_THAT(timedLines(), IsEmpty());
    EXPECT_THAT(linesOf(folder.file("silent.log")), IsEmpty());
}

TEST_F(RecordTimeoutTest, runsOnAThreadOfItsOwn) {
    OrvoLogging::setInstance(timed);
    timed.enableRecordData(true);
    timed.expire();
    awaitLines(1);
    EXPECT_THAT(timedLines()[0], testing::EndsWith("] " + note));
    EXPECT_THAT(timedLines()[0],
                testing::Not(testing::HasSubstr("[" + std::to_string(log_system::threadId()) + "]")));
}

TEST_F(RecordTimeoutTest, leavesARecordOpenWhoseThreadIsThere) {
    timed.setLogLevel("Net", 4);
    timed << setloglevel("Net", 3) << "begun";
    for (int i = 0; i < 3; ++i) timed.expire();
    letTimeoutsTry();
    EXPECT_THAT(timedLines(), IsEmpty());
    timed << ", ended" << endrecord;
    EXPECT_THAT(timedLines(), ElementsAre("begun, ended"));
}

TEST_F(RecordTimeoutTest, tellsOfItselfWhenTheRecordThatItCouldNotEndHasBeenEnded) {
    OrvoLogging::setInstance(timed);
    timed << "begun";
    timed.expire();
    letTimeoutsTry();
    EXPECT_THAT(timedLines(), IsEmpty());
    timed << ", ended" << endrecord;
    awaitLines(2);
    EXPECT_THAT(timedLines(), ElementsAre("begun, ended", note));
}

// A dead thread's lock counts as not obtained the first time, and is free from then on.
TEST_F(RecordTimeoutTest, endsTheRecordOfAThreadThatDiedAtTheSecondExpiry) {
    std::thread([&] { timed << setloglevel(3) << "left behind"; }).join();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));  // the system may take its time to end it
    timed.timerElapsed();
    EXPECT_THAT(timedLines(), IsEmpty());
    timed.expire();
    awaitLines(1);
    EXPECT_THAT(timedLines(), ElementsAre("left behind"));
}

TEST_F(RecordTimeoutTest, expiriesDoNotWaitForOneAnother) {
    OrvoLogging::setInstance(timed);
    timed << "begun";
    for (int i = 0; i < 5; ++i) timed.expire();  // all of them wait for the lock
    timed << endrecord;
    awaitLines(6);
    EXPECT_THAT(timedLines(), ElementsAre("begun", note, note, note, note, note));
}

TEST_F(RecordTimeoutTest, theTimerMayBeStartedAndStoppedByHand) {
    timed.cancelTimer();
    timed.resetTimer();
    timed.resetTimer();
    timed.cancelTimer();
    timed.cancelTimer();
    timed << "text" << endrecord;
    EXPECT_THAT(timedLines(), ElementsAre("text"));
}

TEST_F(RecordTimeoutTest, theThreadHasAName) {
    OrvoLogging::setInstance(timed);
    OrvoLoggingEventTimerThread thread(timed);
    EXPECT_EQ("OrvoLoggingEventTimerThread", thread.getName());
    thread.start();
    thread.wait(-1);
    EXPECT_EQ(0, thread.getExitCode());
    EXPECT_THAT(timedLines(), ElementsAre(note));
}

// ---- Loggers that go

TEST(LoggerEndTest, waitsForTheThreadsThatKnowTheLogger) {
    testing_support::TempFolder folder;
    for (int i = 0; i < 100; ++i) {
        TimedLogger logger(folder.file("agent"), 0, 9);
        if (i % 2 == 0) OrvoLogging::setInstance(logger);
        logger.expire();
        logger.expire();
    }
    EXPECT_FALSE(OrvoLogging::isAccessAllowed());
}

TEST(LoggerEndTest, isNotHeldUpByARecordThatIsStillOpen) {
    testing_support::TempFolder folder;
    TimedLogger logger(folder.file("agent"), 0, 9);
    OrvoLogging::setInstance(logger);
    logger << "open";
    for (int i = 0; i < 3; ++i) logger.expire();  // these try to end it and then wait to tell of it
    letTimeoutsTry();
}

TEST(LoggerEndTest, isNotHeldUpByTheRecordOfAnotherThread) {
    testing_support::TempFolder folder;
    auto logger = std::make_unique<TimedLogger>(folder.file("agent"), 0, 9);
    OrvoLogging::setInstance(*logger);
    std::atomic<bool> open{false};
    std::atomic<bool> stop{false};
    std::thread forgetful([&] {
        *logger << "open";
        open = true;
        while (!stop) std::this_thread::yield();
    });
    while (!open) std::this_thread::yield();
    logger->expire();
    letTimeoutsTry();
    logger.reset();
    stop = true;
    forgetful.join();
}

TEST(LoggerEndTest, isNotHeldUpByTheTimeoutsOfAnotherLogger) {
    testing_support::TempFolder folder;
    TimedLogger other(folder.file("other"), 0, 3);
    {
        TimedLogger instance(folder.file("instance"), 0, 9);
        OrvoLogging::setInstance(instance);
        instance << "open";
        for (int i = 0; i < 3; ++i) other.expire();  // these wait to tell the instance
        letTimeoutsTry();
    }
    other << setloglevel(3) << "goes on" << endrecord;
}

TEST(LoggerEndTest, comesWhileOthersSetAndUseLoggersOfTheirOwn) {
    testing_support::TempFolder folder;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            while (std::chrono::steady_clock::now() < end) {
                TimedLogger logger(folder.file("agent" + std::to_string(t)), 0, 9);
                if (t == 0) OrvoLogging::setInstance(logger);
                logger << "open";
                logger.expire();
                logger << endrecord;
                logger.expire();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

}  // namespace
