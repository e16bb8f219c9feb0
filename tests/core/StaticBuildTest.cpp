// The library linked into the program. Static objects of the host may be constructed before the library's own
// and destroyed after them.
#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

#include "OrvoCriticalSection.h"
#include "OrvoLogging.h"
#include "OrvoObjectBase.h"
#include "OrvoObjectFactory.h"
#include "OrvoThread.h"
#include "OrvoTimer.h"
#include "core/ObjectLock.h"
#include "support/TempFolder.h"

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

class Returning : public OrvoThread {
public:
    using OrvoThread::run;
    int run() override { return 5; }
};

int useThread() {
    Returning thread;
    thread.start();
    thread.wait(-1);
    return thread.getExitCode();
}

OrvoObjectBase* makeObject() { return new OrvoObjectBase; }

struct EarlyAndLate {
    EarlyAndLate() : depth(lockOnTwoThreads(lock)), pointer(new OrvoObjectBase) {
        OrvoObjectFactory::getGlobalInstance().add("object", makeObject);
        timer.reset();
        logger.enableRecordData(false);
        logger << "early" << endrecord;
        exitCode = useThread();
    }
    ~EarlyAndLate() {
        logger << "late" << endrecord;
        if (testing_support::readFile(folder.file("static.log")).find("late") == string::npos) std::abort();
        if (useThread() != 5) std::abort();
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
    const testing_support::TempFolder folder;
    OrvoLogging logger{folder.file("static"), OrvoLogging::fileTarget, 9};
    int exitCode = 0;
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

TEST(StaticBuildTest, aThreadRanBeforeMain) { EXPECT_EQ(5, earlyAndLate.exitCode); }

TEST(StaticBuildTest, aLoggerOfBeforeMainGoesOn) {
    earlyAndLate.logger << "meanwhile" << endrecord;
    const std::string text = testing_support::readFile(earlyAndLate.folder.file("static.log"));
    EXPECT_EQ(0u, text.find("early"));
    EXPECT_NE(std::string::npos, text.find("meanwhile"));
}

TEST(StaticBuildTest, theObjectLockStandsWhenTheProgramRuns) {
    ASSERT_NE(nullptr, objectLock());
    EXPECT_EQ(0, objectLock()->lockCount());
}

}  // namespace
