// A time for the timers that stands still until a test lets it go on: hours pass as fast as what happens in
// them.
//
// A program of osupt_fake_time_test() (tests/CMakeLists.txt) has the whole library inside, and these clocks
// in the place of the system's WaitableTimer. So every OrvoTimer in it, the logger's too, goes by FakeTime,
// while waits for events, threads, and the clock of OrvoDateTime stay real:
//
//     OrvoTimer timer;
//     timer.start(3600, 0, true);
//     FakeTime::advance(3600s);        // returns when all that was due has fired
//     EXPECT_EQ(0, timer.wait(0));
#ifndef TESTS_SUPPORT_FAKE_TIME_H
#define TESTS_SUPPORT_FAKE_TIME_H

#include <chrono>
#include <cstdint>

namespace testing_support {

/// Thread safety: any thread, but advance() is for one at a time and not for a handler of a timer.
struct FakeTime {
    /// Lets the time go on by this much, with a stop at each moment for which the timers' thread sleeps, and
    /// returns when that thread sleeps again or has ended. Fails the program when it does not within a
    /// minute.
    static void advance(std::chrono::milliseconds time);
    /// Waits for the timers' thread without letting any time go by.
    static void settle() { advance(std::chrono::milliseconds(0)); }

    /// Sets the calendar, which begins in a year of its own at a full second. Deadlines do not follow it.
    static void setCalendar(std::chrono::milliseconds since1970);
    static std::chrono::milliseconds calendar();

    /// From now on the timers get no thread.
    static void refuseWaiters(bool refuse);
    /// Whether the timers have a thread now.
    static bool hasWaiter();
    /// How often that thread was given life, and was woken before its time, so far.
    static int waitersMade();
    static int wakeUps();
};

}  // namespace testing_support

#endif
