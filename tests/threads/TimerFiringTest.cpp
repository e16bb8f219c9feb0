// When and in which order timers fire, by a clock of the test's own.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "OrvoException.h"
#include "OrvoTimer.h"
#include "support/FakeTime.h"

namespace {

using namespace OrvoSupport;
using namespace std::chrono_literals;
using testing_support::FakeTime;

/// What happened, in one line.
class Story {
public:
    void add(const std::string& text) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_text += text;
    }
    std::string take() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::exchange(m_text, std::string());
    }

private:
    std::mutex m_mutex;
    std::string m_text;
};

/// A timer that tells its name when it fires, and then does something.
struct Named : OrvoTimer, private OrvoDependent {
    using OrvoTimer::OrvoTimer;
    Named(Story& story_, const std::string& name_, std::function<void()> action_ = {})
        : story(&story_), name(name_), action(std::move(action_)) {
        addDependent(*this);
    }
    ~Named() override { removeDependent(*this); }

    void handleNotification(OrvoCollaborator&, const OrvoNotification& note) override {
        EXPECT_EQ(1, note.getId());
        thread = std::this_thread::get_id();
        story->add(name);
        if (action) action();
    }

    Story* story;
    std::string name;
    std::function<void()> action;
    std::thread::id thread;
};

class TimerFiringTest : public testing::Test {
protected:
    void SetUp() override { FakeTime::setCalendar(1'700'000'000'000ms); }
    void TearDown() override {
        FakeTime::refuseWaiters(false);
        FakeTime::advance(2s);
        EXPECT_FALSE(FakeTime::hasWaiter());
    }

    Story story;
};

TEST_F(TimerFiringTest, aOneShotTimerFiresOnceWhenItsPeriodIsOver) {
    Named timer(story, "a");
    timer.start(3600, 0, true);
    FakeTime::advance(3599999ms);
    EXPECT_EQ("", story.take());
    FakeTime::advance(1ms);
    EXPECT_EQ("a", story.take());
    EXPECT_NE(std::this_thread::get_id(), timer.thread);
    EXPECT_EQ(0, timer.wait(0));
    EXPECT_EQ(-2, timer.wait(0));
    FakeTime::advance(7200s);
    EXPECT_EQ("", story.take());
}

TEST_F(TimerFiringTest, aRepeatingTimerStartsAnewFromEachFiring) {
    Named timer(story, "a");
    timer.start(2, 0, false);
    FakeTime::advance(11s);
    EXPECT_EQ("aaaaa", story.take());
    timer.stop();
    FakeTime::advance(11s);
    EXPECT_EQ("", story.take());
}

TEST_F(TimerFiringTest, millisecondsCountToo) {
    Named timer(story, "a");
    timer.start(1500, false);
    FakeTime::advance(1499ms);
    EXPECT_EQ("", story.take());
    FakeTime::advance(1ms);
    EXPECT_EQ("a", story.take());
    timer.start(250, false);
    FakeTime::advance(1000ms);
    EXPECT_EQ("aaaa", story.take());
    timer.stop();
}

TEST_F(TimerFiringTest, withoutAPeriodItStaysStopped) {
    Named timer(story, "a");
    timer.start(5, 0, false);
    timer.start(0, 0, false);
    FakeTime::advance(10s);
    timer.start(0, false);
    timer.start(-3, 0, true);
    timer.start(0, -5000, true);
    FakeTime::advance(10s);
    EXPECT_EQ("", story.take());
    EXPECT_FALSE(FakeTime::hasWaiter());
    timer.reset();  // the period is kept all the same, and still none
    FakeTime::advance(10s);
    EXPECT_EQ("", story.take());
}

TEST_F(TimerFiringTest, ofOneSecondTheOneStartedLastFiresFirst) {
    Named a(story, "a"), b(story, "b"), c(story, "c"), d(story, "d");
    a.start(2, 0, true);
    b.start(3, 0, true);
    c.start(2, 300, true);
    d.start(2, 0, true);
    FakeTime::advance(1999ms);
    EXPECT_EQ("", story.take());
    FakeTime::advance(1ms);
    EXPECT_EQ("dca", story.take());
    FakeTime::advance(1000ms);
    EXPECT_EQ("b", story.take());
}

TEST_F(TimerFiringTest, anotherTimersFiringTakesItAlongEarly) {
    Named a(story, "a"), b(story, "b");
    FakeTime::advance(900ms);
    a.start(1, 0, true);  // due at 1.9
    FakeTime::advance(50ms);
    b.start(60, 0, true);
    FakeTime::advance(100ms);  // into the second of a: now any arming fires it, 850 ms early
    EXPECT_EQ("", story.take());
    b.start(60, 0, true);
    EXPECT_EQ("a", story.take());
    EXPECT_EQ(std::this_thread::get_id(), a.thread);
    b.stop();
}

TEST_F(TimerFiringTest, armingAnewMovesTheDeadlineWithinItsSecond) {
    Named a(story, "a"), b(story, "b");
    a.start(1, 500, true);
    FakeTime::advance(900ms);
    b.start(60, 0, true);  // the wait for a begins again: 1.5 s from here
    FakeTime::advance(1499ms);
    EXPECT_EQ("", story.take());
    FakeTime::advance(1ms);
    EXPECT_EQ("a", story.take());
    b.stop();
}

TEST_F(TimerFiringTest, anOverdueTimerFiresOnTheThreadThatStartsIt) {
    Named timer(story, "a");
    timer.start(-5, 1, true);
    EXPECT_EQ("a", story.take());
    EXPECT_EQ(std::this_thread::get_id(), timer.thread);
    EXPECT_EQ(0, timer.wait(0));
}

TEST_F(TimerFiringTest, negativeMillisecondsOfThisSecondAreASleepThatIsOver) {
    Named timer(story, "a");
    timer.start(5, -5001, true);  // (0, -1): only (0, 0) and seconds that have passed fire on this thread
    FakeTime::settle();
    EXPECT_EQ("a", story.take());
    EXPECT_NE(std::this_thread::get_id(), timer.thread);
}

TEST_F(TimerFiringTest, aRepeatingTimerOfThePastFiresUntilItsHandlerStopsIt) {
    int left = 5;
    Named timer(story, "a");
    timer.action = [&] {
        if (--left == 0) timer.stop();
    };
    timer.start(-5, 1, false);
    EXPECT_EQ("aaaaa", story.take());
}

TEST_F(TimerFiringTest, anOverdueOneFiresBeforeAnotherIsStarted) {
    Named a(story, "a"), b(story, "b");
    a.start(10, 0, true);
    FakeTime::setCalendar(FakeTime::calendar() + 20s);
    b.start(-1, 1, true);
    EXPECT_EQ("ab", story.take());
}

TEST_F(TimerFiringTest, aCalendarSetBackKeepsTimersWaiting) {
    Named a(story, "a");
    a.start(10, 0, true);
    FakeTime::setCalendar(FakeTime::calendar() - 100s);
    FakeTime::advance(109s);
    EXPECT_EQ("", story.take());
    FakeTime::advance(1s);
    EXPECT_EQ("a", story.take());
}

TEST_F(TimerFiringTest, aClockThatLagsALittleDoesNotCostASecond) {
    Named a(story, "a");
    a.start(10, 0, true);
    FakeTime::setCalendar(FakeTime::calendar() - 3ms);
    FakeTime::advance(10002ms);
    EXPECT_EQ("", story.take());
    FakeTime::advance(1ms);
    EXPECT_EQ("a", story.take());
}

TEST_F(TimerFiringTest, aSleepThatEndsBeforeTheSecondHasComeBeginsAnew) {
    Named a(story, "a");
    a.start(1, -50, true);
    FakeTime::advance(1899ms);
    EXPECT_EQ("", story.take());
    FakeTime::advance(1ms);
    EXPECT_EQ("a", story.take());
}

TEST_F(TimerFiringTest, resetStartsAnewAndLeavesTheSignal) {
    Named timer(story, "a");
    timer.start(5, 0, true);
    FakeTime::advance(5s);
    FakeTime::advance(10s);
    timer.reset();
    EXPECT_EQ(0, timer.wait(0));
    FakeTime::advance(4s);
    timer.reset();
    FakeTime::advance(4s);
    EXPECT_EQ("a", story.take());
    FakeTime::advance(1s);
    EXPECT_EQ("a", story.take());
}

TEST_F(TimerFiringTest, constructorsKeepThePeriodForReset) {
    struct Recorder : OrvoTimer {
        using OrvoTimer::OrvoTimer;
        using OrvoTimer::start;
        std::vector<long> seen;
        void start(long seconds, long milliseconds, bool oneShot) override {
            seen = {seconds, milliseconds, oneShot};
        }
    };
    Recorder none, half(1500, true), both(2, 2500, false), negative(-1500, false);
    none.reset();
    EXPECT_EQ((std::vector<long>{0, 0, 0}), none.seen);
    half.reset();
    EXPECT_EQ((std::vector<long>{1, 500, 1}), half.seen);
    both.reset();
    EXPECT_EQ((std::vector<long>{4, 500, 0}), both.seen);
    negative.reset();
    EXPECT_EQ((std::vector<long>{-1, -500, 0}), negative.seen);
    none.start(70, true);
    EXPECT_EQ((std::vector<long>{0, 70, 1}), none.seen);
}

TEST_F(TimerFiringTest, isOneShotAndSetAreAskedOfTheSubclass) {
    struct Thrice : Named {
        using Named::Named;
        int left = 3;
        int sets = 0;
        bool isOneShot() const override { return left <= 1; }
        void set() override {
            --left;
            ++sets;
            Named::set();
        }
    } timer(story, "a");
    timer.start(1, 0, true);
    FakeTime::advance(10s);
    EXPECT_EQ("aaa", story.take());
    EXPECT_EQ(3, timer.sets);
}

TEST_F(TimerFiringTest, handlersStartAndStopTimers) {
    Named c(story, "c");
    Named b(story, "b");
    Named a(story, "a", [&] {
        b.stop();
        c.start(2, 0, true);
    });
    b.start(1, 0, true);
    a.start(1, 0, true);
    FakeTime::advance(1s);
    EXPECT_EQ("a", story.take());
    FakeTime::advance(2s);
    EXPECT_EQ("c", story.take());
}

TEST_F(TimerFiringTest, aTimerOfThePastStartedByAHandlerFiresInTheSamePass) {
    Named b(story, "b");
    Named a(story, "a", [&] {
        b.start(-1, 1, true);
        story.add("-");  // nothing fires while the handler runs
    });
    a.start(1, 0, true);
    FakeTime::advance(1s);
    EXPECT_EQ("a-b", story.take());
}

TEST_F(TimerFiringTest, handlersDestroyTheirOwnTimerAndOthers) {
    auto b = std::make_unique<Named>(story, "b");
    auto a = std::make_unique<Named>(story, "a");
    OrvoDependent last;
    a->addDependent(last);
    a->action = [&] {
        b.reset();
        a.reset();
    };
    b->start(1, 0, true);
    a->start(1, 0, false);
    FakeTime::advance(5s);
    EXPECT_EQ("a", story.take());

    a = std::make_unique<Named>(story, "a", [&] { a.reset(); });
    a->start(-1, 1, false);
    EXPECT_EQ("a", story.take());
}

TEST_F(TimerFiringTest, anExceptionOfOursIsDroppedAndThePassGoesOn) {
    Named b(story, "b");
    Named a(story, "a", [] { throw OrvoException("refused"); });
    b.start(1, 0, true);
    a.start(1, 0, true);
    FakeTime::advance(1s);
    EXPECT_EQ("ab", story.take());
    EXPECT_EQ(-2, a.wait(0));  // not signalled
    EXPECT_EQ(0, b.wait(0));
    a.start(-1, 1, true);
    EXPECT_EQ("a", story.take());
}

TEST_F(TimerFiringTest, withoutAThreadNothingFiresUntilTheNextArming) {
    FakeTime::refuseWaiters(true);
    Named a(story, "a"), b(story, "b");
    a.start(1, 0, true);
    FakeTime::advance(5s);
    EXPECT_EQ("", story.take());
    FakeTime::refuseWaiters(false);
    b.start(1, 0, true);
    EXPECT_EQ("a", story.take());
    FakeTime::advance(1s);
    EXPECT_EQ("b", story.take());
}

TEST_F(TimerFiringTest, armingForLaterNeitherWakesNorMakesAThread) {
    Named a(story, "a"), b(story, "b");
    a.start(60, 0, false);
    FakeTime::advance(1s);
    const int made = FakeTime::waitersMade();
    const int woken = FakeTime::wakeUps();
    for (int i = 0; i < 100; ++i) {
        b.start(59, 0, true);
        b.stop();
        a.reset();
        FakeTime::advance(10ms);
    }
    EXPECT_EQ(made, FakeTime::waitersMade());
    EXPECT_EQ(woken, FakeTime::wakeUps());
    b.start(0, 1, true);  // nearer than the thread's next look
    EXPECT_EQ(woken + 1, FakeTime::wakeUps());
    FakeTime::advance(1ms);
    EXPECT_EQ("b", story.take());
    a.stop();
}

TEST_F(TimerFiringTest, theThreadEndsWithinASecondOfTheLastStop) {
    Named a(story, "a");
    for (const auto before : {0ms, 1ms, 399ms, 400ms, 401ms, 799ms}) {
        SCOPED_TRACE(before.count());
        a.start(60, 0, true);
        FakeTime::advance(before);
        EXPECT_TRUE(FakeTime::hasWaiter());
        a.stop();
        FakeTime::advance(999ms);
        EXPECT_FALSE(FakeTime::hasWaiter());
    }
}

TEST_F(TimerFiringTest, oneThreadServesALoggerThatArmsAndCancels) {
    Named a(story, "a");
    const int made = FakeTime::waitersMade();
    for (int i = 0; i < 1000; ++i) {
        a.start(60, 0, false);
        a.stop();
        FakeTime::advance(100ms);
    }
    EXPECT_EQ(made + 1, FakeTime::waitersMade());
}

}  // namespace
