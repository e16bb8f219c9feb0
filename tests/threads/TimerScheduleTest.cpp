// The order of the schedule against the walk through a sorted list by which it is defined.
#include "threads/TimerSchedule.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <limits>
#include <random>
#include <vector>

#include "OrvoTimer.h"
#include "threads/TimerSetting.h"

namespace {

using namespace OrvoSupport;

TEST(TimerSettingTest, normalisesTowardZeroAndKeepsTheSign) {
    struct Case {
        std::int64_t seconds, milliseconds, wholeSeconds;
        std::int32_t rest;
    };
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
    constexpr std::int64_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t huge = std::numeric_limits<std::int64_t>::max();
    const Case cases[] = {{0, 1500, 1, 500},    {0, 0, 0, 0},           {3, 999, 3, 999},
                          {0, -1500, -1, -500}, {5, -300, 5, -300},     {-2, 3500, 1, 500},
                          {0, 60000, 60, 0},    {most, 1000, most, 0},  {least, -1999, least, -999},
                          {huge, 7, most, 7},   {-huge, -7, least, -7}, {huge, huge, most, 807},
                          {-1, -1, -1, -1}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.seconds << ", " << c.milliseconds);
        for (const bool oneShot : {false, true}) {
            const TimerSetting setting = unpacked(packed(c.seconds, c.milliseconds, oneShot));
            EXPECT_EQ(c.wholeSeconds, setting.period.seconds);
            EXPECT_EQ(c.rest, setting.period.milliseconds);
            EXPECT_EQ(oneShot, setting.oneShot);
        }
    }
}

TEST(TimePairTest, comparesMillisecondsWithTheOthersSeconds) {
    EXPECT_TRUE(isNotAfter({5, 999}, {6, 0}));
    EXPECT_FALSE(isNotAfter({7, 0}, {6, 999}));
    EXPECT_TRUE(isNotAfter({1'000'000, 999}, {1'000'000, 0}));  // any date of today: due with its second
    EXPECT_TRUE(isNotAfter({5, 5}, {5, 0}));
    EXPECT_FALSE(isNotAfter({5, 6}, {5, 999}));
    EXPECT_TRUE(isNotAfter({0, -1}, {0, 0}));
    EXPECT_FALSE(isNotAfter({-3, 0}, {-3, 0}));
}

/// The definition: insertion before the first timer than which the new one is not later.
class Walk {
public:
    void insert(OrvoTimer& timer, const TimePair& due) {
        remove(timer);
        const auto place = std::find_if(m_list.begin(), m_list.end(),
                                        [&](const Item& item) { return isNotAfter(due, item.due); });
        m_list.insert(place, {&timer, due});
    }
    void remove(OrvoTimer& timer) {
        m_list.erase(std::remove_if(m_list.begin(), m_list.end(),
                                    [&](const Item& item) { return item.timer == &timer; }),
                     m_list.end());
    }
    bool isEmpty() const { return m_list.empty(); }
    OrvoTimer* first() const { return m_list.front().timer; }
    const TimePair& firstDue() const { return m_list.front().due; }

private:
    struct Item {
        OrvoTimer* timer;
        TimePair due;
    };
    std::vector<Item> m_list;
};

constexpr TimePair endOfTime{std::numeric_limits<std::int64_t>::max(), 0};

/// Takes all out of both, in their order.
void expectSameOrder(TimerSchedule& schedule, Walk& walk) {
    schedule.beginPass();
    while (!walk.isEmpty()) {
        OrvoTimer* const first = schedule.firstUnvisited(endOfTime);
        ASSERT_EQ(walk.first(), first);
        EXPECT_EQ(walk.firstDue().seconds, schedule.firstDue().seconds);
        EXPECT_EQ(walk.firstDue().milliseconds, schedule.firstDue().milliseconds);
        schedule.remove(*first);
        walk.remove(*first);
    }
    EXPECT_EQ(nullptr, schedule.firstUnvisited(endOfTime));
    schedule.endPass();
    EXPECT_TRUE(schedule.isEmpty());
}

struct Range {
    int fromSecond, toSecond, milliseconds;
};

class TimerScheduleOrderTest : public testing::TestWithParam<Range> {};

TEST_P(TimerScheduleOrderTest, isThatOfTheWalk) {
    const Range range = GetParam();
    std::mt19937 random(4711);
    std::uniform_int_distribution<int> second(range.fromSecond, range.toSecond);
    std::uniform_int_distribution<int> millisecond(-range.milliseconds, range.milliseconds);
    std::deque<OrvoTimer> timers(120);
    std::uniform_int_distribution<std::size_t> any(0, timers.size() - 1);
    for (int round = 0; round < 200; ++round) {
        TimerSchedule schedule;
        Walk walk;
        for (int step = 0; step < 150; ++step) {
            OrvoTimer& timer = timers[any(random)];
            if (step % 4 == 3) {
                schedule.remove(timer);
                walk.remove(timer);
            } else {
                const TimePair due{second(random), millisecond(random)};
                schedule.insert(timer, due);
                walk.insert(timer, due);
            }
        }
        ASSERT_NO_FATAL_FAILURE(expectSameOrder(schedule, walk)) << "round " << round;
    }
}

INSTANTIATE_TEST_SUITE_P(Dates, TimerScheduleOrderTest,
                         testing::Values(Range{1'700'000'000, 1'700'000'003, 999},
                                         Range{1'700'000'000, 1'700'003'600, 999}, Range{0, 4, 999},
                                         Range{-3, 3, 5}, Range{400, 500, 999},
                                         Range{-1'000'000, -999'990, 999}));

TEST(TimerScheduleTest, aPassVisitsATimerOnceAlsoWhenItComesBackAtOnce) {
    std::deque<OrvoTimer> timers(3);
    TimerSchedule schedule;
    for (OrvoTimer& timer : timers) schedule.insert(timer, {100, 0});
    const TimePair now{100, 0};
    schedule.beginPass();
    for (int i = 2; i >= 0; --i) {
        OrvoTimer* const first = schedule.firstUnvisited(now);
        ASSERT_EQ(&timers[static_cast<std::size_t>(i)], first);
        schedule.visit(*first);
        schedule.insert(*first, {100, 0});
    }
    EXPECT_EQ(nullptr, schedule.firstUnvisited(now));
    EXPECT_FALSE(schedule.isEmpty());
    schedule.remove(timers[1]);  // one of those set aside
    schedule.endPass();
    schedule.beginPass();
    EXPECT_EQ(&timers[0], schedule.firstUnvisited(now));  // the last to come back
    schedule.remove(timers[0]);
    EXPECT_EQ(&timers[2], schedule.firstUnvisited(now));
    schedule.remove(timers[2]);
    EXPECT_TRUE(schedule.isEmpty());
    schedule.endPass();
}

TEST(TimerScheduleTest, aTimerThatComesDuringAPassIsVisitedToo) {
    std::deque<OrvoTimer> timers(2);
    TimerSchedule schedule;
    schedule.beginPass();
    schedule.insert(timers[0], {100, 0});
    EXPECT_EQ(&timers[0], schedule.firstUnvisited({100, 0}));
    schedule.insert(timers[1], {101, 0});
    schedule.remove(timers[0]);
    EXPECT_EQ(nullptr, schedule.firstUnvisited({100, 0}));
    schedule.endPass();
    schedule.clear();
}

TEST(TimerScheduleTest, clearingItLeavesItsTimersOut) {
    std::deque<OrvoTimer> timers(40);
    TimerSchedule schedule;
    schedule.beginPass();
    for (OrvoTimer& timer : timers) {
        schedule.insert(timer, {100, 0});
        if (&timer < &timers[20]) schedule.visit(timer);
        schedule.insert(timer, {100, 0});
    }
    schedule.clear();
    EXPECT_TRUE(schedule.isEmpty());
    schedule.endPass();
    for (OrvoTimer& timer : timers) schedule.remove(timer);
    schedule.insert(timers[7], {100, 0});
    EXPECT_EQ(&timers[7], schedule.firstUnvisited({100, 0}));
    schedule.clear();
}

}  // namespace
