// Many producers and consumers at once: nothing is lost, doubled or forgotten, and nobody waits for ever.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <numeric>
#include <thread>
#include <vector>

#include "threads/Exchange.h"

namespace {

using namespace OrvoSupport;

constexpr int threadsASide = 4;

class ProducerConsumerLoadTest : public testing::Test {
protected:
    void startConsumers() {
        taken.resize(threadsASide);
        for (std::vector<int>& mine : taken) {
            consumers.emplace_back([this, &mine] {
                for (int number = 0; exchange.consume(number);) mine.push_back(number);
            });
        }
    }
    void startProducers(int count) {
        for (int p = 0; p < threadsASide; ++p) {
            producers.emplace_back([this, p, count] {
                for (int i = p; i < count; i += threadsASide) exchange.produce(i);
            });
        }
    }
    static void join(std::vector<std::thread>& threads) {
        for (std::thread& thread : threads) thread.join();
        threads.clear();
    }
    // How often each number below `count` was taken.
    std::vector<int> tally(int count) const {
        std::vector<int> result(static_cast<std::size_t>(count));
        for (const std::vector<int>& mine : taken)
            for (const int number : mine) ++result[static_cast<std::size_t>(number)];
        return result;
    }

    NumberQueue queue;
    Exchange exchange{queue};
    std::vector<std::vector<int>> taken;
    std::vector<std::thread> consumers;
    std::vector<std::thread> producers;
};

TEST_F(ProducerConsumerLoadTest, handsOverEveryItemExactlyOnce) {
    constexpr int count = 8000;
    startConsumers();
    startProducers(count);
    join(producers);
    exchange.produceSentinel(false);
    join(consumers);
    EXPECT_EQ(std::vector<int>(count, 1), tally(count));
    EXPECT_EQ(0, queue.clears);
}

TEST_F(ProducerConsumerLoadTest, keepsTheOrderOfEachProducer) {
    constexpr int count = 5000;
    startProducers(count);
    startConsumers();
    join(producers);
    exchange.produceSentinel(false);
    join(consumers);
    for (const std::vector<int>& mine : taken) {
        std::vector<int> last(threadsASide, -1);
        for (const int number : mine) {
            int& before = last[static_cast<std::size_t>(number % threadsASide)];
            ASSERT_LT(before, number);
            before = number;
        }
    }
}

TEST_F(ProducerConsumerLoadTest, aClearingSentinelInTheMidstEndsEverybody) {
    constexpr int count = 8000;
    startConsumers();
    startProducers(count);
    exchange.produceSentinel(true);
    join(producers);
    join(consumers);
    for (const int times : tally(count)) ASSERT_LE(times, 1);
    EXPECT_EQ(1, queue.clears);
}

// One item at a time, so that every hand-over is a wake-up which, if it were lost, would be waited for in
// vain.
TEST_F(ProducerConsumerLoadTest, losesNoWakeUp) {
    NumberQueue answers;
    Exchange back(answers);
    std::vector<std::thread> servers;
    for (int i = 0; i < threadsASide; ++i) {
        servers.emplace_back([&] {
            for (int number = 0; exchange.consume(number);) back.produce(number);
        });
    }
    for (int i = 0; i < 1000; ++i) {
        exchange.produce(i);
        int answer = -1;
        ASSERT_TRUE(back.consume(answer));
        ASSERT_EQ(i, answer);
    }
    exchange.produceSentinel(false);
    join(servers);
}

TEST_F(ProducerConsumerLoadTest, survivesSetsWithoutReason) {
    constexpr int count = 5000;
    std::atomic<bool> stop{false};
    std::thread noise([&] {
        while (!stop) exchange.setSyncEvent();
    });
    startConsumers();
    startProducers(count);
    join(producers);
    exchange.produceSentinel(false);
    join(consumers);
    stop = true;
    noise.join();
    EXPECT_EQ(std::vector<int>(count, 1), tally(count));
}

// The mutex is free when a wait returns to one of its holders only, whoever else waits or comes anew.
TEST_F(ProducerConsumerLoadTest, neverHasTwoThreadsBehindTheMutex) {
    int inside = 0;  // guarded by the mutex, and by nothing else
    std::vector<std::thread> threads;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    for (int t = 0; t < 2 * threadsASide; ++t) {
        threads.emplace_back([&, t] {
            while (std::chrono::steady_clock::now() < end) {
                exchange.lockSyncMutex();
                if (t % 2 == 0) exchange.waitForSyncEvent();
                EXPECT_EQ(1, ++inside);
                --inside;
                if (t % 2 != 0) exchange.setSyncEvent();
                exchange.unlockSyncMutex();
            }
        });
    }
    std::atomic<bool> stop{false};
    std::thread noise([&] {  // who still waits at the end is released
        while (!stop) {
            exchange.setSyncEvent();
            std::this_thread::yield();
        }
    });
    join(threads);
    stop = true;
    noise.join();
}

TEST_F(ProducerConsumerLoadTest, manyMayBeMadeAndDestroyed) {
    for (int i = 0; i < 500; ++i) {
        Exchange one(queue);
        one.produce(i);
        int number = -1;
        ASSERT_TRUE(one.consume(number));
        ASSERT_EQ(i, number);
    }
}

}  // namespace
