// The mutex that is given up in the step in which a wait begins, and the event that releases everybody.
#include "platform/SyncMutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "platform/Event.h"

namespace {

using namespace OrvoSupport::platform;

constexpr int generousMs = 20000;

class SyncMutexTest : public testing::Test {
protected:
    SyncMutexTest() = default;
    ~SyncMutexTest() override {
        closeEvent(event);
        closeMutex(mutex);
    }

    const MutexHandle mutex = createMutex();
    const WaitHandle event = createManualResetEvent();
};

TEST_F(SyncMutexTest, closingNothingIsAllowed) { EXPECT_NO_THROW(closeMutex(nullptr)); }

TEST_F(SyncMutexTest, aManualResetEventStaysSignalledUntilItIsReset) {
    EXPECT_EQ(waitTimedOut, waitForOne(event, 0));
    setEvent(event);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(0, waitForOne(event, generousMs));
    resetEvent(event);
    EXPECT_EQ(waitTimedOut, waitForOne(event, 0));
}

TEST_F(SyncMutexTest, aManualResetEventReleasesEveryWaiter) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back([this] { EXPECT_EQ(0, waitForOne(event, generousMs)); });
    setEvent(event);
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, waitForOne(event, 0));
}

TEST_F(SyncMutexTest, keepsOthersOutAsLongAsItHasAHold) {
    int guarded = 0;
    lockMutex(mutex);
    lockMutex(mutex);
    std::thread other([&] {
        lockMutex(mutex);
        ++guarded;
        unlockMutex(mutex);
    });
    unlockMutex(mutex);
    EXPECT_EQ(waitTimedOut, waitForOne(event, 20));
    EXPECT_EQ(0, guarded);
    unlockMutex(mutex);
    other.join();
    EXPECT_EQ(1, guarded);
}

TEST_F(SyncMutexTest, cannotBeUnlockedByAThreadThatDoesNotHoldIt) {
    bool locked = true;
    lockMutex(mutex);
    std::thread([this] { unlockMutex(mutex); }).join();
    std::thread other([&] {
        lockMutex(mutex);
        EXPECT_FALSE(locked);
        unlockMutex(mutex);
    });
    EXPECT_EQ(waitTimedOut, waitForOne(event, 20));
    locked = false;
    unlockMutex(mutex);
    other.join();
}

TEST_F(SyncMutexTest, isTakenFromAThreadThatHasEnded) {
    std::thread([this] {
        lockMutex(mutex);
        lockMutex(mutex);
    }).join();
    lockMutex(mutex);
    unlockMutex(mutex);
    std::thread([this] { lockMutex(mutex), unlockMutex(mutex); }).join();  // nothing of the old holds is left
}

TEST_F(SyncMutexTest, whoTakesItNextFindsTheOtherWaiting) {
    std::atomic<bool> held{false};
    std::thread waiter([&] {
        lockMutex(mutex);
        held = true;
        unlockMutexAndWait(mutex, event);
    });
    while (!held) std::this_thread::yield();
    lockMutex(mutex);
    pulseEvent(event);  // reaches only those who wait at this moment
    unlockMutex(mutex);
    waiter.join();
    EXPECT_EQ(waitTimedOut, waitForOne(event, 0));
}

TEST_F(SyncMutexTest, doesNotWaitForAnEventThatIsSetButGivesUpTheHold) {
    lockMutex(mutex);
    setEvent(event);
    unlockMutexAndWait(mutex, event);
    std::thread([this] { lockMutex(mutex), unlockMutex(mutex); }).join();
    EXPECT_EQ(0, waitForOne(event, 0));
}

}  // namespace
