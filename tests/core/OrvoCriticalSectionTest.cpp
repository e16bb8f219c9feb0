#include "OrvoCriticalSection.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace {

using namespace OrvoSupport;
using Clock = std::chrono::steady_clock;

enum Kind : bool { mutex = false, criticalSection = true };
constexpr Kind bothKinds[] = {mutex, criticalSection};

/// What another thread sees: whether it can take the lock (it gives it up again).
bool freeForOthers(OrvoCriticalSectionObject& lock) {
    return std::async(std::launch::async,
                      [&lock] {
                          const bool taken = lock.testAndSet();
                          if (taken) lock.unlock();
                          return taken;
                      })
        .get();
}

int depthSeenByOthers(OrvoCriticalSectionObject& lock) {
    return std::async(std::launch::async, [&lock] { return lock.lockCount(); }).get();
}

/// Locks a number of times on a thread that then ends without unlocking.
void abandon(OrvoCriticalSectionObject& lock, int depth = 1) {
    std::thread([&lock, depth] {
        for (int i = 0; i < depth; ++i) lock.lock();
    }).join();
}

/// Another thread that holds a lock until it is told to give it up.
class Holder {
public:
    explicit Holder(OrvoCriticalSectionObject& lock)
        : m_thread([this, &lock] {
              lock.lock();
              m_locked.set_value();
              m_end.get_future().wait();
              lock.unlock();
          }) {
        m_locked.get_future().wait();
    }
    ~Holder() {
        m_end.set_value();
        m_thread.join();
    }

private:
    std::promise<void> m_locked;
    std::promise<void> m_end;
    std::thread m_thread;
};

TEST(OrvoCriticalSectionObjectTest, countsTheHoldsOfItsThread) {
    for (const Kind kind : bothKinds) {
        OrvoCriticalSectionObject lock(kind);
        lock.lock();
        lock.lock();
        lock.lock();
        EXPECT_EQ(3, lock.lockCount());
        lock.unlock();
        EXPECT_EQ(2, lock.lockCount());
        EXPECT_EQ(2, depthSeenByOthers(lock));
        EXPECT_FALSE(freeForOthers(lock));
        lock.unwind();
        EXPECT_EQ(0, lock.lockCount());
        EXPECT_TRUE(freeForOthers(lock));
    }
}

TEST(OrvoCriticalSectionObjectTest, isFreeBeforeTheFirstUse) {
    for (const Kind kind : bothKinds) {
        OrvoCriticalSectionObject counted(kind);
        EXPECT_EQ(0, counted.lockCount());
        OrvoCriticalSectionObject tried(kind);
        EXPECT_TRUE(tried.testAndSet());
        EXPECT_EQ(1, tried.lockCount());
        OrvoCriticalSectionObject unwound(kind);
        unwound.unwind();
        EXPECT_EQ(0, unwound.lockCount());
        EXPECT_TRUE(freeForOthers(unwound));
    }
}

TEST(OrvoCriticalSectionObjectTest, takesOnceMoreWhenItsHolderTries) {
    for (const Kind kind : bothKinds) {
        OrvoCriticalSectionObject lock(kind);
        lock.lock();
        EXPECT_TRUE(lock.testAndSet());
        EXPECT_EQ(2, lock.lockCount());
        lock.unlock();
        EXPECT_FALSE(freeForOthers(lock));
        lock.unlock();
        EXPECT_TRUE(freeForOthers(lock));
    }
}

TEST(OrvoCriticalSectionObjectTest, unlockOfAFreeLockChangesNothing) {
    for (const Kind kind : bothKinds) {
        OrvoCriticalSectionObject lock(kind);
        lock.unlock();
        EXPECT_EQ(0, lock.lockCount());
        lock.lock();
        lock.unlock();
        lock.unlock();
        EXPECT_EQ(0, lock.lockCount());
        lock.lock();
        EXPECT_EQ(1, lock.lockCount());
        EXPECT_FALSE(freeForOthers(lock));
        lock.unlock();
    }
}

TEST(OrvoCriticalSectionObjectTest, unlockByAnotherThreadChangesNothing) {
    for (const Kind kind : bothKinds) {
        OrvoCriticalSectionObject lock(kind);
        lock.lock();
        lock.lock();
        std::thread([&lock] { lock.unlock(); }).join();
        EXPECT_EQ(2, lock.lockCount());
        EXPECT_FALSE(freeForOthers(lock));
        lock.unwind();
    }
}

TEST(OrvoCriticalSectionObjectTest, unwindByAnotherThreadChangesNothing) {
    for (const Kind kind : bothKinds) {
        OrvoCriticalSectionObject lock(kind);
        lock.lock();
        lock.lock();
        std::thread([&lock] { lock.unwind(); }).join();
        EXPECT_EQ(2, lock.lockCount());
        EXPECT_FALSE(freeForOthers(lock));
        lock.unwind();
    }
}

TEST(OrvoCriticalSectionObjectTest, aMutexIsTriedForAHundredMilliseconds) {
    OrvoCriticalSectionObject lock;
    const Holder holder(lock);
    const auto before = Clock::now();
    EXPECT_FALSE(lock.testAndSet());
    // The system's clock ticks may end the wait a little early.
    EXPECT_GE(Clock::now() - before, std::chrono::milliseconds(80));
    const auto unwinding = Clock::now();
    lock.unwind();
    EXPECT_GE(Clock::now() - unwinding, std::chrono::milliseconds(80));
    EXPECT_EQ(1, lock.lockCount());
}

TEST(OrvoCriticalSectionObjectTest, triesWithoutTakingWhileAnotherThreadHolds) {
    for (const Kind kind : bothKinds) {
        OrvoCriticalSectionObject lock(kind);
        {
            const Holder holder(lock);
            EXPECT_FALSE(lock.testAndSet());
            EXPECT_EQ(1, lock.lockCount());
        }
        EXPECT_EQ(0, lock.lockCount());
        EXPECT_TRUE(lock.testAndSet());
        lock.unlock();
    }
}

TEST(OrvoCriticalSectionObjectTest, aMutexGivenUpDuringTheTrialIsTaken) {
    OrvoCriticalSectionObject lock;
    lock.lock();
    std::atomic<bool> trying{false};
    auto taken = std::async(std::launch::async, [&] {
        trying = true;
        // On a busy machine the first trials may time out before the other thread has given up its hold.
        for (int i = 0; i < 100; ++i)
            if (lock.testAndSet()) return true;
        return false;
    });
    while (!trying) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    lock.unlock();
    EXPECT_TRUE(taken.get());
}

TEST(OrvoCriticalSectionObjectTest, lockWaitsUntilTheHolderHasGivenUpAllHolds) {
    for (const Kind kind : bothKinds) {
        OrvoCriticalSectionObject lock(kind);
        lock.lock();
        lock.lock();
        int order = 0;
        std::thread other([&] {
            lock.lock();
            order = 10 * order + 2;
            lock.unlock();
        });
        lock.unlock();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        order = 1;
        lock.unlock();
        other.join();
        EXPECT_EQ(12, order);
    }
}

TEST(OrvoCriticalSectionObjectTest, anAbandonedMutexIsLockedWithDepthOne) {
    OrvoCriticalSectionObject lock;
    abandon(lock, 3);
    lock.lock();
    EXPECT_EQ(1, lock.lockCount());
    EXPECT_FALSE(freeForOthers(lock));
    lock.unlock();
    EXPECT_TRUE(freeForOthers(lock));
}

TEST(OrvoCriticalSectionObjectTest, anAbandonedMutexCountsAsNotTakenAndIsFreeAfterwards) {
    OrvoCriticalSectionObject lock;
    abandon(lock, 2);
    int tries = 0;
    do {
        EXPECT_FALSE(lock.testAndSet());
    } while (lock.lockCount() != 0 && ++tries < 100);  // more than one only while the system ends the thread
    EXPECT_EQ(0, lock.lockCount());
    EXPECT_TRUE(freeForOthers(lock));
    EXPECT_TRUE(lock.testAndSet());
    EXPECT_EQ(1, lock.lockCount());
    lock.unlock();
}

TEST(OrvoCriticalSectionObjectTest, unwindingAnAbandonedMutexLeavesItFree) {
    OrvoCriticalSectionObject lock;
    abandon(lock, 2);
    lock.unwind();
    // Again only while the system has yet to end the thread.
    for (int i = 0; i < 100 && lock.lockCount() != 0; ++i) lock.unwind();
    EXPECT_EQ(0, lock.lockCount());
    EXPECT_TRUE(freeForOthers(lock));
}

TEST(OrvoCriticalSectionObjectTest, unlockOfAnAbandonedMutexChangesNothing) {
    OrvoCriticalSectionObject lock;
    abandon(lock, 2);
    lock.unlock();
    EXPECT_EQ(2, lock.lockCount());
    lock.lock();
    EXPECT_EQ(1, lock.lockCount());
    lock.unlock();
}

TEST(OrvoCriticalSectionObjectTest, severalWaitersGetAnAbandonedMutexInTurn) {
    OrvoCriticalSectionObject lock;
    std::promise<void> locked;
    std::promise<void> end;
    std::thread holder([&] {
        lock.lock();
        locked.set_value();
        end.get_future().wait();
    });
    locked.get_future().wait();
    int passed = 0;
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i)
        waiters.emplace_back([&] {
            lock.lock();
            ++passed;
            lock.unlock();
        });
    end.set_value();
    holder.join();
    for (std::thread& waiter : waiters) waiter.join();
    EXPECT_EQ(4, passed);
    EXPECT_EQ(0, lock.lockCount());
}

TEST(OrvoCriticalSectionObjectTest, destructionOfAnAbandonedOrHeldLockIsHarmless) {
    {
        OrvoCriticalSectionObject abandoned;
        abandon(abandoned);
    }
    OrvoCriticalSectionObject held;
    held.lock();
    held.lock();
}

TEST(OrvoCriticalSectionObjectTest, aCopyOfAUsedLockSharesIt) {
    for (const Kind kind : bothKinds) {
        OrvoCriticalSectionObject source(kind);
        source.lock();
        OrvoCriticalSectionObject copy(source);
        EXPECT_EQ(1, copy.lockCount());
        EXPECT_FALSE(freeForOthers(copy));
        copy.unlock();
        EXPECT_EQ(0, source.lockCount());
        EXPECT_TRUE(freeForOthers(source));
    }
}

TEST(OrvoCriticalSectionObjectTest, aCopyOfAnUnusedLockDoesNotShareIt) {
    for (const Kind kind : bothKinds) {
        OrvoCriticalSectionObject source(kind);
        OrvoCriticalSectionObject copy(source);
        source.lock();
        EXPECT_EQ(0, copy.lockCount());
        EXPECT_TRUE(freeForOthers(copy));
        source.unlock();
    }
}

TEST(OrvoCriticalSectionObjectTest, aSharedLockOutlivesItsSource) {
    auto source = std::make_unique<OrvoCriticalSectionObject>();
    source->lock();
    OrvoCriticalSectionObject copy(*source);
    source.reset();
    EXPECT_EQ(1, copy.lockCount());
    EXPECT_FALSE(freeForOthers(copy));
    copy.unlock();
    EXPECT_TRUE(freeForOthers(copy));
}

TEST(OrvoCriticalSectionObjectTest, assignmentSharesTheLockOfAUsedSource) {
    OrvoCriticalSectionObject source;
    OrvoCriticalSectionObject target;
    source.lock();
    target.lock();
    target.lock();
    target.unwind();
    target = source;
    EXPECT_EQ(1, target.lockCount());
    EXPECT_FALSE(freeForOthers(target));
    source.unlock();
    EXPECT_TRUE(freeForOthers(target));
}

TEST(OrvoCriticalSectionObjectTest, assignmentOfAnUnusedSourceLeavesNoLock) {
    OrvoCriticalSectionObject source;
    OrvoCriticalSectionObject target;
    OrvoCriticalSectionObject formerPartner;
    formerPartner.lock();
    target = formerPartner;
    target = source;
    EXPECT_EQ(0, target.lockCount());
    EXPECT_TRUE(freeForOthers(target));
    EXPECT_EQ(1, formerPartner.lockCount());
    formerPartner.unlock();
}

TEST(OrvoCriticalSectionObjectTest, copiesAndAssignmentsCarryTheKind) {
    const OrvoCriticalSectionObject source(criticalSection);
    OrvoCriticalSectionObject copy(source);
    OrvoCriticalSectionObject assigned;
    assigned = source;
    // Only a critical section stays taken for ever when its holder ends.
    for (OrvoCriticalSectionObject* lock : {&copy, &assigned}) {
        abandon(*lock);
        EXPECT_FALSE(lock->testAndSet());
        EXPECT_FALSE(lock->testAndSet());
        EXPECT_EQ(1, lock->lockCount());
    }
}

TEST(OrvoCriticalSectionObjectTest, assignmentToItselfKeepsTheLock) {
    OrvoCriticalSectionObject lock;
    lock.lock();
    OrvoCriticalSectionObject& same = lock;
    lock = same;
    EXPECT_EQ(1, lock.lockCount());
    EXPECT_FALSE(freeForOthers(lock));
    lock.unlock();
}

TEST(OrvoCriticalSectionObjectTest, isCreatedOnceWhenSeveralThreadsUseItFirst) {
    for (const Kind kind : bothKinds) {
        for (int round = 0; round < 50; ++round) {
            OrvoCriticalSectionObject lock(kind);
            std::atomic<int> ready{0};
            int counter = 0;
            std::vector<std::thread> threads;
            for (int t = 0; t < 4; ++t)
                threads.emplace_back([&] {
                    ++ready;
                    while (ready < 4) std::this_thread::yield();
                    lock.lock();
                    ++counter;
                    lock.unlock();
                });
            for (std::thread& thread : threads) thread.join();
            EXPECT_EQ(4, counter);
            EXPECT_EQ(0, lock.lockCount());
        }
    }
}

TEST(OrvoCriticalSectionObjectTest, excludesEightThreadsFromOneAnother) {
    for (const Kind kind : bothKinds) {
        OrvoCriticalSectionObject lock(kind);
        const auto end = Clock::now() + std::chrono::milliseconds(700);
        long counter = 0;  // not atomic: the lock is what keeps it right
        std::atomic<long> expected{0};
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t)
            threads.emplace_back([&, t] {
                long mine = 0;
                for (int i = 0; i < 100000 && Clock::now() < end; ++i) {
                    if ((i + t) % 7 == 0) {
                        if (!lock.testAndSet()) continue;
                    } else {
                        lock.lock();
                    }
                    lock.lock();
                    ++counter;
                    ++mine;
                    if (i % 5 == 0) {
                        lock.unwind();
                    } else {
                        lock.unlock();
                        lock.unlock();
                    }
                }
                expected += mine;
            });
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(expected, counter);
        EXPECT_EQ(0, lock.lockCount());
    }
}

TEST(OrvoCriticalSectionObjectTest, aHolderThatTakesItAgainAtOnceDoesNotKeepWaitersOut) {
    for (const Kind kind : bothKinds) {
        OrvoCriticalSectionObject lock(kind);
        std::atomic<bool> served{false};
        std::thread waiter([&] {
            for (int i = 0; i < 20; ++i) {
                lock.lock();
                lock.unlock();
            }
            served = true;
        });
        // Ends only when the waiter has had its turns.
        while (!served) {
            lock.lock();
            lock.unlock();
        }
        waiter.join();
        EXPECT_EQ(0, lock.lockCount());
    }
}

TEST(OrvoCriticalSectionObjectTest, aCriticalSectionIsTriedWithoutWaiting) {
    OrvoCriticalSectionObject lock(criticalSection);
    const Holder holder(lock);
    const auto before = Clock::now();
    for (int i = 0; i < 200; ++i) {
        EXPECT_FALSE(lock.testAndSet());
        lock.unwind();
    }
    // A wait of 100 milliseconds each would take 40 seconds.
    EXPECT_LT(Clock::now() - before, std::chrono::seconds(20));
    EXPECT_EQ(1, lock.lockCount());
}

TEST(OrvoCriticalSectionObjectTest, copiesOfCopiesShareOneLock) {
    OrvoCriticalSectionObject source;
    source.lock();
    auto first = std::make_unique<OrvoCriticalSectionObject>(source);
    auto second = std::make_unique<OrvoCriticalSectionObject>(*first);
    OrvoCriticalSectionObject third;
    third = *second;
    first.reset();
    second.reset();
    third.lock();
    EXPECT_EQ(2, source.lockCount());
    third.unwind();
    EXPECT_TRUE(freeForOthers(source));
}

// A joiner may destroy a lock as soon as it has held it, while the unlock before that is still returning.
TEST(OrvoCriticalSectionObjectTest, mayBeDestroyedByWhoeverHeldItLast) {
    for (int round = 0; round < 300; ++round) {
        auto lock = std::make_unique<OrvoCriticalSectionObject>();
        std::atomic<bool> locked{false};
        std::thread holder([&] {
            lock->lock();
            locked = true;
            lock->unlock();
        });
        while (!locked) std::this_thread::yield();
        lock->lock();
        lock->unlock();
        holder.join();
        lock.reset();
    }
}

TEST(OrvoCriticalSectionTest, holdsTheLockForTheScope) {
    OrvoCriticalSectionObject lock;
    {
        const OrvoCriticalSection guard(lock);
        EXPECT_EQ(1, lock.lockCount());
        EXPECT_FALSE(freeForOthers(lock));
    }
    EXPECT_EQ(0, lock.lockCount());
}

TEST(OrvoCriticalSectionTest, doesNotLockUnlessTold) {
    OrvoCriticalSectionObject lock;
    OrvoCriticalSection guard(lock, false);
    EXPECT_EQ(0, lock.lockCount());
    guard.lock();
    EXPECT_EQ(1, lock.lockCount());
    guard.unlock();
    EXPECT_EQ(0, lock.lockCount());
    guard.unlock();
    EXPECT_EQ(0, lock.lockCount());
}

TEST(OrvoCriticalSectionTest, lockedTwiceUnlocksOnce) {
    OrvoCriticalSectionObject lock;
    {
        OrvoCriticalSection guard(lock);
        guard.lock();
        EXPECT_EQ(2, lock.lockCount());
    }
    EXPECT_EQ(1, lock.lockCount());
    lock.unlock();
}

TEST(OrvoCriticalSectionTest, aTrialWhileItHoldsTakesOnceMoreYetUnlocksOnce) {
    OrvoCriticalSectionObject lock;
    {
        OrvoCriticalSection guard(lock);
        EXPECT_TRUE(guard.testAndSet());
        EXPECT_EQ(2, lock.lockCount());
    }
    EXPECT_EQ(1, lock.lockCount());
    lock.unlock();
}

TEST(OrvoCriticalSectionTest, endsHarmlesslyWhenTheLockWasUnwound) {
    for (const Kind kind : bothKinds) {
        OrvoCriticalSectionObject lock(kind);
        {
            const OrvoCriticalSection outer(lock);
            const OrvoCriticalSection inner(lock);
            lock.unwind();
            EXPECT_TRUE(freeForOthers(lock));
        }
        EXPECT_EQ(0, lock.lockCount());
        EXPECT_TRUE(freeForOthers(lock));
    }
}

TEST(OrvoCriticalSectionTest, aFailedTrialHoldsNothing) {
    for (const Kind kind : bothKinds) {
        OrvoCriticalSectionObject lock(kind);
        const Holder holder(lock);
        {
            OrvoCriticalSection guard(lock, false);
            EXPECT_FALSE(guard.testAndSet());
        }
        EXPECT_EQ(1, lock.lockCount());
    }
}

TEST(OrvoCriticalSectionTest, aSuccessfulTrialHoldsTheLock) {
    for (const Kind kind : bothKinds) {
        OrvoCriticalSectionObject lock(kind);
        {
            OrvoCriticalSection guard(lock, false);
            EXPECT_TRUE(guard.testAndSet());
            EXPECT_FALSE(freeForOthers(lock));
        }
        EXPECT_TRUE(freeForOthers(lock));
    }
}

TEST(LockBaseTest, countsItsHoldersAndDeletesItself) {
    static int destroyed = 0;
    struct Record : LockBase {
        ~Record() override { ++destroyed; }
    };
    destroyed = 0;
    Record* record = new Record;
    EXPECT_EQ(0u, record->refCount());
    EXPECT_EQ(1u, record->addRef());
    EXPECT_EQ(2u, record->addRef());
    const LockBase copy(*record);
    EXPECT_EQ(0u, copy.refCount());
    EXPECT_EQ(1u, record->release());
    EXPECT_EQ(0u, record->release());
    EXPECT_EQ(1, destroyed);
}

TEST(LockBaseTest, assignmentResetsTheCount) {
    LockBase from;
    LockBase to;
    to.addRef();
    to = from;
    EXPECT_EQ(0u, to.refCount());
    EXPECT_EQ("LockBase", to.getClassName());
}

// Static objects may lock and count before main() and after it; the program fails to start or to end if the
// library is not ready for that.
struct EarlyAndLate : OrvoObjectBase {
    EarlyAndLate() {
        const OrvoCriticalSection guard(lock);
        addRef();
        depth = lock.lockCount();
    }
    ~EarlyAndLate() override {
        const OrvoCriticalSection guard(lock);
        addRef();
        if (lock.lockCount() != 1) std::abort();
    }
    OrvoCriticalSectionObject lock;
    int depth = 0;
} earlyAndLate;

TEST(StaticObjectsTest, lockAndCountBeforeMain) {
    EXPECT_EQ(1, earlyAndLate.depth);
    EXPECT_EQ(1u, earlyAndLate.refCount());
    EXPECT_EQ(0, earlyAndLate.lock.lockCount());
}

}  // namespace
