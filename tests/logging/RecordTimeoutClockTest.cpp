// When the time-out of an open record comes, by a clock of the test's own.
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include "logging/LogFixture.h"
#include "support/ChildProcess.h"
#include "support/FakeTime.h"
#include "threads/OrvoTimerManager.h"

using namespace OrvoSupport;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing_support::FakeTime;

namespace {

const string note =
    "OrvoLogging::timerElapsed: called (NOTE: This message only appears and repeats when LogLevel = 9)";

/// Counts its time-outs.
class CountingLogger : public OpenLogger {
public:
    using OpenLogger::OpenLogger;

    std::atomic<int> timeouts{0};
    std::thread::id thread;  // that told of the last one

protected:
    void handleNotification(OrvoCollaborator& source, const OrvoNotification& note_) override {
        EXPECT_EQ(1, note_.getId());
        thread = std::this_thread::get_id();
        ++timeouts;
        OpenLogger::handleNotification(source, note_);
    }
};

class RecordTimeoutClockTest : public PlainLogFixture {
protected:
    RecordTimeoutClockTest() { counting.enableRecordData(false); }
    void TearDown() override {
        FakeTime::refuseWaiters(false);
        counting << endrecord;
        FakeTime::advance(2s);
        EXPECT_FALSE(FakeTime::hasWaiter());
    }

    std::vector<string> countingLines() const { return linesOf(folder.file("counting.log")); }
    void awaitLines(std::size_t count) {
        while (countingLines().size() < count) std::this_thread::yield();
    }

    CountingLogger counting{folder.file("counting"), OrvoLogging::fileTarget, 8};
};

TEST_F(RecordTimeoutClockTest, comesSixtySecondsAfterTheFirstPieceAndEverySixtySeconds) {
    counting << setloglevel(3) << "open";
    FakeTime::advance(59999ms);
    EXPECT_EQ(0, counting.timeouts);
    for (int i = 1; i <= 5; ++i) {
        FakeTime::advance(1ms);
        EXPECT_EQ(i, counting.timeouts);
        FakeTime::advance(59999ms);
        EXPECT_EQ(i, counting.timeouts);
    }
    EXPECT_NE(std::this_thread::get_id(), counting.thread);
    EXPECT_TRUE(countingLines().empty());
    counting << ", ended" << endrecord;
    EXPECT_THAT(countingLines(), ElementsAre("open, ended"));
    FakeTime::advance(600s);
    EXPECT_EQ(5, counting.timeouts);
}

TEST_F(RecordTimeoutClockTest, doesNotComeForARecordThatIsEndedInTime) {
    for (int i = 0; i < 10; ++i) {
        counting << setloglevel(3) << i;
        FakeTime::advance(59999ms);
        counting << endrecord;
        FakeTime::advance(i * 100ms);
    }
    FakeTime::advance(600s);
    EXPECT_EQ(0, counting.timeouts);
    EXPECT_EQ(10u, countingLines().size());
}

TEST_F(RecordTimeoutClockTest, isNotPutOffByMorePieces) {
    counting << setloglevel(3) << 0;
    for (int i = 1; i <= 59; ++i) {
        FakeTime::advance(1s);
        counting << i;
    }
    FakeTime::advance(999ms);
    EXPECT_EQ(0, counting.timeouts);
    FakeTime::advance(1ms);
    EXPECT_EQ(1, counting.timeouts);
}

TEST_F(RecordTimeoutClockTest, countsFromTheFirstPieceOfTheRecordThatIsOpen) {
    // The thread of a time-out may end the record only now, and so give the next one the level of no record.
    counting.setLogLevel(9);
    for (const std::chrono::milliseconds begun : {0ms, 300ms, 1700ms, 59900ms}) {
        SCOPED_TRACE(begun.count());
        counting.timeouts = 0;
        counting << setloglevel(3) << "one" << endrecord;
        FakeTime::advance(begun);
        counting << setloglevel(3) << "two";
        FakeTime::advance(59999ms);
        EXPECT_EQ(0, counting.timeouts);
        FakeTime::advance(1ms);
        EXPECT_EQ(1, counting.timeouts);
        counting << endrecord;
    }
}

TEST_F(RecordTimeoutClockTest, doesNotRunForRefusedPiecesNorForALevelAlone) {
    counting << setloglevel(9) << "refused";
    counting << setloglevel(3);
    FakeTime::advance(600s);
    EXPECT_EQ(0, counting.timeouts);
    EXPECT_FALSE(FakeTime::hasWaiter());
}

TEST_F(RecordTimeoutClockTest, doesNotFollowTheCalendar) {
    counting << setloglevel(3) << "open";
    FakeTime::setCalendar(FakeTime::calendar() - 3600s);
    counting << endrecord << setloglevel(3) << "open again";
    FakeTime::advance(59s);
    EXPECT_EQ(0, counting.timeouts);
}

TEST_F(RecordTimeoutClockTest, endsTheRecordOfADeadThreadAtTheSecondExpiry) {
    std::thread([&] { counting << setloglevel(3) << "left"; }).join();
    std::this_thread::sleep_for(200ms);  // the system may take its time to end the thread
    FakeTime::advance(60s);
    FakeTime::advance(59s);
    EXPECT_TRUE(countingLines().empty());
    FakeTime::advance(1s);
    awaitLines(1);
    EXPECT_THAT(countingLines(), ElementsAre("left"));
    FakeTime::advance(600s);
    EXPECT_EQ(2, counting.timeouts);
}

TEST_F(RecordTimeoutClockTest, repeatsAtLevelNineAndTellsOfItOnceTheRecordHasEnded) {
    counting.setLogLevel(9);
    OrvoLogging::setInstance(counting);
    counting << "open";
    for (int i = 0; i < 3; ++i) FakeTime::advance(60s);
    EXPECT_TRUE(countingLines().empty());
    counting << ", ended" << endrecord;
    awaitLines(4);
    EXPECT_THAT(countingLines(), ElementsAre("open, ended", note, note, note));
}

TEST_F(RecordTimeoutClockTest, eachLoggerHasItsOwn) {
    CountingLogger other(folder.file("other"), 0, 8);
    counting << setloglevel(3) << "open";
    FakeTime::advance(30s);
    other << setloglevel(3) << "open";
    FakeTime::advance(30s);
    EXPECT_EQ(1, counting.timeouts);
    EXPECT_EQ(0, other.timeouts);
    counting << endrecord;
    FakeTime::advance(30s);
    EXPECT_EQ(1, counting.timeouts);
    EXPECT_EQ(1, other.timeouts);
    other << endrecord;
}

TEST_F(RecordTimeoutClockTest, keepsNoThreadOnceTheLastRecordHasEnded) {
    CountingLogger other(folder.file("other"), 0, 8);
    const int made = FakeTime::waitersMade();
    for (int i = 0; i < 100; ++i) {
        counting << setloglevel(3) << "text" << endrecord;
        other << setloglevel(3) << "text" << endrecord;
        FakeTime::advance(100ms);
    }
    EXPECT_EQ(made + 1, FakeTime::waitersMade());
    FakeTime::advance(2s);
    EXPECT_FALSE(FakeTime::hasWaiter());
}

TEST_F(RecordTimeoutClockTest, comesOnceThereIsAThreadForItAgain) {
    FakeTime::refuseWaiters(true);
    counting << setloglevel(3) << "not watched" << endrecord;
    counting << setloglevel(3) << "nor is this" << endrecord;
    FakeTime::refuseWaiters(false);
    counting << setloglevel(3) << "open";
    FakeTime::advance(60s);
    EXPECT_EQ(1, counting.timeouts);
}

// ---- Beside other timers

class HandledTimer : public OrvoTimer, private OrvoDependent {
public:
    explicit HandledTimer(std::function<void()> action) : m_action(std::move(action)) { addDependent(*this); }
    std::thread::id thread;

private:
    void handleNotification(OrvoCollaborator&, const OrvoNotification&) override {
        thread = std::this_thread::get_id();
        m_action();
    }
    std::function<void()> m_action;
};

// A timer of whole seconds is overdue from the moment its second has come until its thread wakes.
TEST_F(RecordTimeoutClockTest, noTimerFiresOnAThreadThatLogs) {
    FakeTime::setCalendar(1'700'000'000'900ms);
    std::atomic<int> fired{0};
    HandledTimer ticker([&] {
        counting << setloglevel(3) << "tick" << endrecord;
        ++fired;
    });
    ticker.start(1, 0, false);
    FakeTime::advance(200ms);
    counting << setloglevel(4) << "host, ";
    EXPECT_EQ(0u, countingLines().size());
    counting << "rest" << endrecord;
    while (fired == 0) FakeTime::advance(100ms);
    EXPECT_THAT(countingLines(), ElementsAre("host, rest", "tick"));
    EXPECT_NE(std::this_thread::get_id(), ticker.thread);
    ticker.stop();
}

TEST_F(RecordTimeoutClockTest, otherTimersKeepTheirTime) {
    std::atomic<int> fired{0};
    HandledTimer timer([&] { ++fired; });
    timer.start(90500, true);
    counting << setloglevel(3) << "text" << endrecord;
    for (int i = 0; i < 90; ++i) {
        FakeTime::advance(1s);
        counting << setloglevel(3) << "text" << endrecord;
    }
    FakeTime::advance(499ms);
    EXPECT_EQ(0, fired);
    FakeTime::advance(1ms);
    EXPECT_EQ(1, fired);
}

TEST_F(RecordTimeoutClockTest, comesInAPassWithOthers) {
    std::atomic<int> fired{0};
    HandledTimer ticker([&] { ++fired; });
    ticker.start(1, 0, false);
    counting << setloglevel(3) << "one" << endrecord;
    FakeTime::advance(500ms);
    counting << setloglevel(3) << "open";
    FakeTime::advance(59999ms);
    EXPECT_EQ(0, counting.timeouts);
    FakeTime::advance(1001ms);
    EXPECT_EQ(1, counting.timeouts);
    EXPECT_GE(fired, 59);
    ticker.stop();
}

// ---- Loggers that go, and a library that goes

TEST_F(RecordTimeoutClockTest, doesNotComeForALoggerThatIsGone) {
    auto mortal = std::make_unique<CountingLogger>(folder.file("gone"), 0, 8);
    *mortal << setloglevel(3) << "open";
    mortal.reset();
    FakeTime::advance(2s);
    EXPECT_FALSE(FakeTime::hasWaiter());
    FakeTime::advance(600s);
}

TEST_F(RecordTimeoutClockTest, loggersMayGoWhileTheirTimeComes) {
    for (int i = 0; i < 50; ++i) {
        auto mortal = std::make_unique<OrvoLogging>(folder.file("gone"), 0, 8);
        *mortal << setloglevel(3) << "open";
        std::thread time([] { FakeTime::advance(60s); });
        std::this_thread::sleep_for(std::chrono::microseconds(20 * i));
        mortal.reset();
        time.join();
    }
}

OSUPT_CHILD(logsAfterTheLibraryHasGone) {
    CountingLogger logger(arguments[0], OrvoLogging::fileTarget, 9);
    logger.enableRecordData(false);
    OrvoLogging::setInstance(logger);
    logger << "open, ";
    OrvoTimerManager::deleteInstance();
    logger << "ended" << endrecord;
    logger << "open";
    FakeTime::advance(600s);
    logger << ", ended too" << endrecord;
    return logger.timeouts;
}

TEST_F(RecordTimeoutClockTest, aLoggerOutlivesTheTimers) {
    testing_support::ChildProcess child("logsAfterTheLibraryHasGone", {folder.file("child")});
    EXPECT_EQ(0, child.wait());
    EXPECT_THAT(linesOf(folder.file("child.log")), ElementsAre("open, ended", "open, ended too"));
}

}  // namespace
