// The library linked into the program. Static objects of the host may be constructed before the library's own
// and destroyed after them.
#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

#include "OrvoCriticalSection.h"
#include "OrvoObjectBase.h"
#include "OrvoObjectFactory.h"
#include "OrvoTimer.h"
#include "core/ObjectLock.h"

namespace {

using namespace OrvoSupport;

int lockOnTwoThreads(OrvoCriticalSectionObject& lock) {
    const OrvoCriticalSection guard(lock);
    const int depth = lock.lockCount();
    std::thread([&lock] {
        OrvoCriticalSectionObject own;
        own.lock();
        own.unlock();
        lock.unlock();
    }).join();
    return depth;
}

OrvoObjectBase* makeObject() { return new OrvoObjectBase; }

struct EarlyAndLate {
    EarlyAndLate() : depth(lockOnTwoThreads(lock)), pointer(new OrvoObjectBase) {
        OrvoObjectFactory::getGlobalInstance().add("object", makeObject);
        timer.reset();
    }
    ~EarlyAndLate() {
        timer.reset();
        timer.start(-1, 1, true);
        timer.stop();
        // Nothing can be reported to the test any more; the program fails instead.
        OrvoCriticalSectionObject late;
        const OrvoSmartPointer<OrvoObjectBase> again(pointer);
        if (lockOnTwoThreads(lock) != 1 || lockOnTwoThreads(late) != 1 || pointer->refCount() != 2)
            std::abort();
        // The factory of the process goes when the object lock goes; whoever asks then gets a new one.
        OrvoObjectFactory& factory = OrvoObjectFactory::getGlobalInstance();
        const bool hasObject = factory.construct("object") != nullptr;
        if (hasObject != (objectLock() != nullptr)) std::abort();
        OrvoObjectFactory::deleteGlobalInstance();
    }
    OrvoTimer timer{20, false};
    OrvoCriticalSectionObject lock;
    int depth;
    OrvoSmartPointer<OrvoObjectBase> pointer;
} earlyAndLate;

TEST(StaticBuildTest, locksAndCountsBeforeMain) {
    EXPECT_EQ(1, earlyAndLate.depth);
    EXPECT_EQ(1u, earlyAndLate.pointer->refCount());
    EXPECT_EQ(0, earlyAndLate.lock.lockCount());
}

TEST(StaticBuildTest, theFactoryKeepsWhatItGotBeforeMain) {
    EXPECT_TRUE(OrvoObjectFactory::getGlobalInstance().construct("object") != nullptr);
}

TEST(StaticBuildTest, aTimerStartedBeforeMainFires) {
    for (int i = 0; i < 3; ++i) EXPECT_EQ(0, earlyAndLate.timer.wait(60000));
}

TEST(StaticBuildTest, theObjectLockStandsWhenTheProgramRuns) {
    ASSERT_NE(nullptr, objectLock());
    EXPECT_EQ(0, objectLock()->lockCount());
}

}  // namespace
