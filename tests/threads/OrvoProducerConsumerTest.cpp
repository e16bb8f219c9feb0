// The hand-shake of producers and consumers, step by step.
#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "os/LogCapture.h"
#include "threads/Exchange.h"

namespace {

using namespace OrvoSupport;
using testing::ElementsAre;
using testing::IsEmpty;
using testing_support::LogCapture;

const std::string waiting = "OrvoBaseProducerConsumer::produceSentinel: waiting for lock";
const std::string adding = "OrvoBaseProducerConsumer::produceSentinel: adding sentinel";
const std::string clearing = "OrvoBaseProducerConsumer::produceSentinel: clearing queue";

static_assert(std::is_base_of_v<OrvoObjectBase, OrvoWorkInformation> &&
              std::has_virtual_destructor_v<OrvoWorkInformation> &&
              std::is_default_constructible_v<OrvoWorkInformation> &&
              std::is_copy_constructible_v<OrvoWorkInformation>);
static_assert(std::is_abstract_v<OrvoBaseSynchronizedQueue> &&
              std::has_virtual_destructor_v<OrvoBaseSynchronizedQueue> &&
              std::has_virtual_destructor_v<OrvoBaseProducerConsumer>);

// Gives a thread that should not get on the time to get on.
void linger() { std::this_thread::sleep_for(std::chrono::milliseconds(20)); }

class OrvoProducerConsumerTest : public testing::Test {
protected:
    // Consumers that wait once each; they are waiting when this returns, `expected` threads with all others.
    void startWaiters(int count) { startWaiters(count, count); }
    void startWaiters(int count, int expected) {
        for (int i = 0; i < count; ++i) {
            threads.emplace_back([this] {
                exchange.lockSyncMutex();
                exchange.waitAndCount();
                exchange.unlockSyncMutex();
            });
        }
        exchange.awaitWaiters(expected);
    }
    void join() {
        for (std::thread& thread : threads) thread.join();
        threads.clear();
    }

    NumberQueue queue;
    Exchange exchange{queue};
    std::vector<std::thread> threads;
};

TEST_F(OrvoProducerConsumerTest, servesTheQueueItWasGivenAndHasNoSentinel) {
    EXPECT_EQ(&queue, &exchange.m_queue);
    EXPECT_FALSE(exchange.m_sentinel);
}

TEST_F(OrvoProducerConsumerTest, needsNoSubclass) {
    OrvoBaseProducerConsumer plain(queue);
    plain.produceSentinel(true);
    EXPECT_EQ(1, queue.clears);
}

TEST_F(OrvoProducerConsumerTest, theQueueHasOneRecursiveLock) {
    OrvoCriticalSectionObject& lock = queue.getLock();
    EXPECT_EQ(&lock, &queue.getLock());
    OrvoCriticalSection outer(lock);
    OrvoCriticalSection inner(lock);
    EXPECT_EQ(2, lock.lockCount());
    bool taken = true;
    std::thread([&] { taken = lock.testAndSet(); }).join();
    EXPECT_FALSE(taken);
}

TEST_F(OrvoProducerConsumerTest, aSetBeforeTheWaitLetsItReturnAtOnceAndIsUsedUp) {
    exchange.setSyncEvent();
    exchange.setSyncEvent();  // counts as one
    exchange.lockSyncMutex();
    exchange.waitForSyncEvent();
    exchange.unlockSyncMutex();

    startWaiters(1);
    linger();
    EXPECT_EQ(0, exchange.wakes());
    exchange.setSyncEvent();
    join();
}

TEST_F(OrvoProducerConsumerTest, oneSetReleasesEverybodyWhoWaits) {
    startWaiters(5);
    exchange.setSyncEvent();
    join();
    EXPECT_EQ(5, exchange.wakes());
}

TEST_F(OrvoProducerConsumerTest, aReleasedWaiterResetsTheEvent) {
    startWaiters(3);
    exchange.setSyncEvent();
    join();
    startWaiters(1);
    linger();
    EXPECT_EQ(3, exchange.wakes());
    exchange.setSyncEvent();
    join();
}

TEST_F(OrvoProducerConsumerTest, aReleasedWaiterReturnsWhenItGetsTheMutex) {
    startWaiters(3);
    exchange.lockSyncMutex();
    exchange.setSyncEvent();
    linger();
    EXPECT_EQ(0, exchange.wakes());
    exchange.unlockSyncMutex();
    join();
    EXPECT_EQ(3, exchange.wakes());
}

TEST_F(OrvoProducerConsumerTest, aReleasedWaiterReturnsWithTheMutexHeld) {
    std::atomic<bool> back{false};
    std::atomic<bool> entered{false};
    std::thread consumer([&] {
        exchange.lockSyncMutex();
        exchange.waitAndCount();
        back = true;
        linger();
        EXPECT_FALSE(entered);
        exchange.unlockSyncMutex();
    });
    exchange.awaitWaiters(1);
    exchange.setSyncEvent();
    while (!back) std::this_thread::yield();
    exchange.lockSyncMutex();
    entered = true;
    exchange.unlockSyncMutex();
    consumer.join();
}

TEST_F(OrvoProducerConsumerTest, aSetWithNothingInTheQueueReleasesNobodyForGood) {
    int number = 0;
    threads.emplace_back([&] { EXPECT_TRUE(exchange.consume(number)); });
    for (int i = 1; i <= 10; ++i) {
        exchange.awaitWaiters(1);
        exchange.setSyncEvent();
        while (exchange.wakes() < i) std::this_thread::yield();
    }
    exchange.produce(7);
    join();
    EXPECT_EQ(7, number);
}

TEST_F(OrvoProducerConsumerTest, theMutexIsReentrantAndAWaitGivesUpOneHold) {
    exchange.lockSyncMutex();
    exchange.lockSyncMutex();
    std::atomic<bool> entered{false};
    std::thread other([&] {
        exchange.setSyncEvent();  // takes no mutex
        exchange.lockSyncMutex();
        entered = true;
        exchange.unlockSyncMutex();
    });
    exchange.waitForSyncEvent();
    linger();
    EXPECT_FALSE(entered);
    exchange.unlockSyncMutex();
    linger();
    EXPECT_FALSE(entered);
    exchange.unlockSyncMutex();
    other.join();
}

TEST_F(OrvoProducerConsumerTest, unlockingAMutexThatAnotherHoldsChangesNothing) {
    exchange.lockSyncMutex();
    std::atomic<bool> entered{false};
    std::thread([&] { exchange.unlockSyncMutex(); }).join();
    std::thread other([&] {
        exchange.lockSyncMutex();
        entered = true;
        exchange.unlockSyncMutex();
    });
    linger();
    EXPECT_FALSE(entered);
    exchange.unlockSyncMutex();
    other.join();
}

TEST_F(OrvoProducerConsumerTest, theMutexOfAThreadThatHasEndedIsFreeForTheNext) {
    std::thread([&] { exchange.lockSyncMutex(); }).join();
    exchange.produce(1);
    exchange.produceSentinel(false);
    int number = 0;
    EXPECT_TRUE(exchange.consume(number));
    EXPECT_FALSE(exchange.consume(number));
}

// ---- Threads that are killed

// Work that a test makes up; it does not end by itself.
class Victim : public OrvoThread {
public:
    explicit Victim(std::function<void()> work) : m_work(std::move(work)) { start(); }
    ~Victim() override { kill(); }

protected:
    using OrvoThread::run;
    int run() override {
        m_work();
        return 0;
    }

private:
    const std::function<void()> m_work;
};

TEST_F(OrvoProducerConsumerTest, aWaiterThatIsKilledIsMissedByNobody) {
    Victim victim([&] {
        exchange.lockSyncMutex();
        exchange.waitAndCount();
    });
    exchange.awaitWaiters(1);
    startWaiters(3, 4);
    victim.kill();
    exchange.setSyncEvent();
    join();
    EXPECT_EQ(3, exchange.wakes());
    exchange.produce(1);
    int number = 0;
    EXPECT_TRUE(exchange.consume(number));
}

TEST_F(OrvoProducerConsumerTest, theMutexOfAKilledThreadIsFreeForTheNext) {
    OrvoEvent held;
    OrvoEvent never;
    Victim victim([&] {
        exchange.lockSyncMutex();
        exchange.lockSyncMutex();
        held.set();
        never.wait(-1);
    });
    held.wait(-1);
    std::thread consumer([&] {
        int number = 0;
        EXPECT_TRUE(exchange.consume(number));
        EXPECT_EQ(5, number);
    });
    victim.kill();
    exchange.produce(5);
    consumer.join();
}

// ---- Sentinels

TEST_F(OrvoProducerConsumerTest, aSentinelLeavesTheContentsAndWakesEveryConsumer) {
    queue.add(1);
    queue.add(2);
    startWaiters(4);
    exchange.produceSentinel(false);
    join();
    EXPECT_TRUE(exchange.m_sentinel);
    EXPECT_EQ(0, queue.clears);
    EXPECT_EQ(2u, queue.size());
}

TEST_F(OrvoProducerConsumerTest, afterASentinelConsumersDrainTheQueueAndStop) {
    for (int i = 1; i <= 3; ++i) exchange.produce(i);
    exchange.produceSentinel(false);
    int number = 0;
    for (int i = 1; i <= 3; ++i) {
        EXPECT_TRUE(exchange.consume(number));
        EXPECT_EQ(i, number);
    }
    EXPECT_FALSE(exchange.consume(number));
    EXPECT_FALSE(exchange.consume(number));  // it is never taken back
}

TEST_F(OrvoProducerConsumerTest, aClearingSentinelEmptiesTheQueueAndWakesEveryConsumer) {
    std::vector<std::thread> consumers;
    for (int i = 0; i < 4; ++i) {
        consumers.emplace_back([this] {
            int number = 0;
            EXPECT_FALSE(exchange.consume(number));
        });
    }
    exchange.awaitWaiters(4);
    queue.add(1);  // without the event: nobody comes for it
    exchange.produceSentinel(true);
    for (std::thread& thread : consumers) thread.join();
    EXPECT_EQ(1, queue.clears);
    EXPECT_EQ(0u, queue.size());
}

TEST_F(OrvoProducerConsumerTest, clearsOnceWithTheSentinelSetAndTheMutexHeld) {
    std::atomic<bool> entered{false};
    std::thread other;
    queue.onClear = [&] {
        EXPECT_TRUE(exchange.m_sentinel);
        other = std::thread([&] {
            exchange.lockSyncMutex();
            entered = true;
            exchange.unlockSyncMutex();
        });
        exchange.lockSyncMutex();  // by the very thread that calls
        exchange.unlockSyncMutex();
        linger();
        EXPECT_FALSE(entered);
    };
    exchange.produceSentinel(true);
    other.join();
    EXPECT_EQ(1, queue.clears);
}

TEST_F(OrvoProducerConsumerTest, canBeToldTwice) {
    exchange.produceSentinel(false);
    exchange.produceSentinel(true);
    exchange.produceSentinel(true);
    EXPECT_TRUE(exchange.m_sentinel);
    EXPECT_EQ(2, queue.clears);
}

TEST_F(OrvoProducerConsumerTest, whatClearThrowsReachesTheCallerAndTheConsumersAreToldAllTheSame) {
    startWaiters(2);
    queue.onClear = [] { throw std::runtime_error("disk full"); };
    EXPECT_THROW(exchange.produceSentinel(true), std::runtime_error);
    join();
    EXPECT_TRUE(exchange.m_sentinel);
    std::thread([&] {
        exchange.lockSyncMutex();
        exchange.unlockSyncMutex();
    }).join();
}

TEST_F(OrvoProducerConsumerTest, tracesEachStepAtLevelNine) {
    LogCapture log;
    exchange.produceSentinel(false);
    EXPECT_THAT(log.records(""), ElementsAre(waiting, adding));
}

TEST_F(OrvoProducerConsumerTest, tracesTheClearingBeforeItClears) {
    LogCapture log;
    queue.onClear = [&] { EXPECT_THAT(log.records(""), ElementsAre(waiting, adding, clearing)); };
    exchange.produceSentinel(true);
    EXPECT_EQ(1, queue.clears);
    EXPECT_THAT(log.records(""), ElementsAre(waiting, adding, clearing));
}

TEST_F(OrvoProducerConsumerTest, tracesThatItWaitsBeforeItHasTheMutex) {
    LogCapture log;
    exchange.lockSyncMutex();
    std::thread other([&] { exchange.produceSentinel(false); });
    while (log.records("").empty()) std::this_thread::yield();
    linger();
    EXPECT_THAT(log.records(""), ElementsAre(waiting));
    EXPECT_FALSE(exchange.m_sentinel);
    exchange.unlockSyncMutex();
    other.join();
    EXPECT_THAT(log.records(""), ElementsAre(waiting, adding));
}

TEST_F(OrvoProducerConsumerTest, tracesNothingBelowLevelNine) {
    LogCapture log;
    OrvoLogging::getInstance().setLogLevel(8);
    exchange.produceSentinel(true);
    EXPECT_THAT(log.records(""), IsEmpty());
}

}  // namespace
