// Waiting and events as the rest of the library sees them, on both systems.
#include "platform/Wait.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>
#include <vector>

#include "platform/Event.h"

namespace {

using namespace OrvoSupport::platform;

constexpr int generousMs = 20000;

// Events that are closed at the end of the test.
class Events {
public:
    explicit Events(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) m_handles.push_back(createEvent());
    }
    Events(const Events&) = delete;
    Events& operator=(const Events&) = delete;
    ~Events() {
        for (WaitHandle handle : m_handles) closeEvent(handle);
    }
    WaitHandle operator[](std::size_t i) const { return m_handles[i]; }
    int wait(bool all, int timeoutMs) const {
        return waitForSeveral(m_handles.data(), m_handles.size(), all, timeoutMs);
    }

private:
    std::vector<WaitHandle> m_handles;
};

TEST(WaitTest, answersWithTheNumbersOfTheSystemCalls) {
    const Events events(3);
    EXPECT_EQ(258, waitForOne(events[0], 0));
    EXPECT_EQ(258, events.wait(false, 0));
    setEvent(events[2]);
    EXPECT_EQ(2, events.wait(false, 0));
    setEvent(events[1]);
    EXPECT_EQ(0, waitForOne(events[1], 0));
    EXPECT_EQ(-1, waitForOne(nullptr, 0));
}

TEST(WaitTest, failsForListsThatCannotBeWaitedFor) {
    const Events events(65);
    for (const bool all : {false, true}) {
        EXPECT_EQ(waitFailed, events.wait(all, 0));
        const std::array<WaitHandle, 2> hole{events[0], nullptr};
        EXPECT_EQ(waitFailed, waitForSeveral(hole.data(), hole.size(), all, 0));
        EXPECT_EQ(waitFailed, waitForSeveral(hole.data(), 0, all, 0));
    }
}

TEST(WaitTest, closingNothingIsAllowed) { EXPECT_NO_THROW(closeEvent(nullptr)); }

TEST(WaitTest, ofAnyTakesTheFirstInListOrderAndLeavesTheOthers) {
    const Events events(maxWaitHandles);
    setEvent(events[50]);
    setEvent(events[3]);
    EXPECT_EQ(3, events.wait(false, -1));
    EXPECT_EQ(50, events.wait(false, -1));
    EXPECT_EQ(waitTimedOut, events.wait(false, 0));
}

TEST(WaitTest, ofAllAnswersZeroAndTakesEverySignal) {
    const Events events(maxWaitHandles);
    for (std::size_t i = 0; i < maxWaitHandles; ++i) {
        EXPECT_EQ(waitTimedOut, events.wait(true, 0));
        setEvent(events[i]);
    }
    EXPECT_EQ(0, events.wait(true, 0));
    EXPECT_EQ(waitTimedOut, events.wait(false, 0));
}

TEST(WaitTest, handsTheLastMissingSignalToASleeperForAll) {
    const Events events(8);
    std::thread setter([&] {
        for (std::size_t i = 8; i-- > 0;) setEvent(events[i]);
    });
    EXPECT_EQ(0, events.wait(true, generousMs));
    setter.join();
    EXPECT_EQ(waitTimedOut, events.wait(false, 0));
}

TEST(WaitTest, aSignalPassesASleeperForAllThatCannotUseItOnToTheNext) {
    const Events events(2);
    std::atomic<bool> released{false};
    std::thread forAll([&] {
        EXPECT_EQ(0, events.wait(true, generousMs));
        released = true;
    });
    for (int i = 0; i < 100; ++i) {
        std::thread forOne([&] { EXPECT_EQ(0, waitForOne(events[1], generousMs)); });
        setEvent(events[1]);
        forOne.join();
    }
    EXPECT_FALSE(released);
    setEvent(events[1]);
    setEvent(events[0]);
    forAll.join();
}

TEST(WaitTest, oneSetReleasesOneOfASleeperForOneAndASleeperForAny) {
    const Events events(2);
    std::atomic<int> released{0};
    const Events reported(1);
    const auto report = [&](int result) {
        EXPECT_GE(result, 0);
        ++released;
        setEvent(reported[0]);
    };
    std::thread one([&] { report(waitForOne(events[1], generousMs)); });
    std::thread any([&] { report(events.wait(false, generousMs)); });
    for (int i = 1; i <= 2; ++i) {
        setEvent(events[1]);
        EXPECT_EQ(0, waitForOne(reported[0], generousMs));
        EXPECT_EQ(i, released);
    }
    one.join();
    any.join();
    EXPECT_EQ(waitTimedOut, events.wait(false, 0));
}

// Eight threads, each of which owns its turn in a ring of events: every signal has exactly one taker, and
// which way of waiting it uses changes all the time.
TEST(WaitTest, keepsEverySignalOfARingOfThreads) {
    constexpr std::size_t count = 8;
    constexpr int rounds = 1000;
    const Events ring(count);
    const Events never(1);
    std::atomic<int> turns{0};
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < count; ++t) {
        threads.emplace_back([&, t] {
            const std::array<WaitHandle, 2> pair{never[0], ring[t]};
            for (int i = 0; i < rounds; ++i) {
                const bool any = (static_cast<std::size_t>(i) + t) % 2 == 0;
                const int result = any ? waitForSeveral(pair.data(), pair.size(), false, generousMs)
                                       : waitForOne(ring[t], generousMs);
                ASSERT_EQ(any ? 1 : 0, result);
                ++turns;
                setEvent(ring[(t + 1) % count]);
            }
        });
    }
    setEvent(ring[0]);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(static_cast<int>(count) * rounds, turns);
    EXPECT_EQ(0, waitForOne(ring[0], 0));  // the last one passed it on
}

// Philosophers who need both of two forks at once: nobody holds one while waiting for the other.
TEST(WaitTest, ofAllNeverDeadlocksAroundATable) {
    constexpr std::size_t seats = 8;
    constexpr int meals = 300;
    const Events forks(seats);
    for (std::size_t i = 0; i < seats; ++i) setEvent(forks[i]);
    std::array<std::atomic<int>, seats> users{};
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < seats; ++t) {
        threads.emplace_back([&, t] {
            const std::size_t left = t;
            const std::size_t right = (t + 1) % seats;
            const std::array<WaitHandle, 2> both{forks[left], forks[right]};
            for (int i = 0; i < meals; ++i) {
                ASSERT_EQ(0, waitForSeveral(both.data(), both.size(), true, generousMs));
                EXPECT_EQ(0, users[left]++);
                EXPECT_EQ(0, users[right]++);
                --users[left];
                --users[right];
                setEvent(forks[left]);
                setEvent(forks[right]);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, forks.wait(true, 0));
}

}  // namespace
