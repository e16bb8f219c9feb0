// How thread objects and their threads part: joins, destruction, and threads that delete themselves.
#include <gtest/gtest.h>

#include <memory>

#include "threads/TestThreads.h"

namespace {

using namespace thread_tests;

using Runnable = OrvoSmartPointer<OrvoThread::OrvoRunnable>;

TEST(OrvoThreadEndTest, destructionWaitsForTheWork) {
    std::atomic<bool> done{false};
    Door door;
    std::thread opener;
    {
        OrvoThread thread(Runnable(new WorkRunnable([&] { return door.pass(), done = true, 0; })));
        thread.start();
        ASSERT_TRUE(until([&] { return door.hasVisitors(); }));
        opener = std::thread([&] { door.open(); });
    }
    EXPECT_TRUE(done);
    opener.join();
}

// The thread may not even have come to its lock by then.
TEST(OrvoThreadEndTest, destructionRightAfterTheStartWaitsToo) {
    for (int i = 0; i < 100; ++i) {
        std::atomic<int> runs{0};
        const auto work = [&] { return ++runs; };
        {
            OrvoThread thread(Runnable(new WorkRunnable(work)));
            thread.start();
        }
        ASSERT_EQ(1, runs);
    }
}

TEST(OrvoThreadEndTest, waitForThreadExitWaitsForTheWork) {
    std::atomic<bool> done{false};
    Door door;
    WorkThread thread([&] { return door.pass(), letOthersRun(), done = true, 3; });
    thread.start();
    ASSERT_TRUE(until([&] { return door.hasVisitors(); }));
    door.open();
    thread.waitForThreadExit();
    EXPECT_TRUE(done);
    EXPECT_EQ(3, thread.getExitCode());
    EXPECT_EQ(nothingToWaitFor, thread.wait(-1));
}

TEST(OrvoThreadEndTest, severalMayWaitForTheExit) {
    Door door;
    WorkThread thread([&] { return door.pass(), 3; });
    thread.start();
    ASSERT_TRUE(until([&] { return door.hasVisitors(); }));
    std::vector<std::thread> joiners;
    std::atomic<int> sum{0};
    for (int i = 0; i < 4; ++i)
        joiners.emplace_back([&] {
            thread.waitForThreadExit();
            sum += thread.getExitCode();
        });
    door.open();
    for (std::thread& joiner : joiners) joiner.join();
    EXPECT_EQ(12, sum);
}

TEST(OrvoThreadEndTest, aThreadMarkedForDeathDeletesItselfOnItsOwnThreadAfterItsWork) {
    std::atomic<int> workerId{0};
    std::atomic<int> deleterId{0};
    std::atomic<int> exitCodeThen{0};
    std::atomic<bool> aliveThen{false};
    std::atomic<int> toldThen{0};
    Onlooker onlooker;
    auto* thread = new WorkThread([&] { return workerId = OrvoThread::getCurrentThreadId(), 17; });
    thread->addDependent(onlooker);
    thread->setMarkForDeath();
    thread->onDestruction([&](OrvoThread& self) {
        exitCodeThen = self.getExitCode();
        aliveThen = self.isAlive();
        toldThen = onlooker.told.load();
        deleterId = OrvoThread::getCurrentThreadId();
    });
    thread->start();
    ASSERT_TRUE(until([&] { return deleterId != 0; }));
    EXPECT_EQ(workerId, deleterId);
    EXPECT_EQ(1, toldThen);
    EXPECT_EQ(17, onlooker.lastExitCode);
    EXPECT_EQ(-1, exitCodeThen);
    EXPECT_TRUE(aliveThen);
}

TEST(OrvoThreadEndTest, theMarkForDeathMayComeWhileItWorks) {
    std::atomic<bool> deleted{false};
    Door door;
    auto* thread = new WorkThread([&] { return door.pass(); });
    thread->onDestruction([&](OrvoThread&) { deleted = true; });
    thread->start();
    ASSERT_TRUE(until([&] { return door.hasVisitors(); }));
    thread->setMarkForDeath();
    EXPECT_FALSE(deleted);
    door.open();
    EXPECT_TRUE(until([&] { return deleted.load(); }));
}

TEST(OrvoThreadEndTest, aThreadThatDeletesItselfGivesUpItsRunnable) {
    const Runnable runnable(new WorkRunnable([] { return 1; }));
    for (int i = 0; i < 50; ++i) {
        auto* thread = new OrvoThread(runnable);
        thread->setMarkForDeath();
        thread->start();
    }
    EXPECT_TRUE(until([&] { return runnable->refCount() == 1; }));
}

TEST(OrvoThreadEndTest, aThreadMarkedForDeathAndForKillIsDestroyedAsAWhole) {
    const Runnable runnable(new WorkRunnable([] { return 1; }));
    for (int i = 0; i < 20; ++i) {
        auto* thread = new OrvoThread(runnable);
        thread->setMarkForKill();
        thread->setMarkForDeath();
        thread->start();
    }
    EXPECT_TRUE(until([&] { return runnable->refCount() == 1; }));
}

TEST(OrvoThreadEndTest, aMarkedThreadThatWasNeverStartedIsDestroyedLikeAnyOther) {
    OrvoThread forDeath;
    forDeath.setMarkForDeath();
    OrvoThread forKill;
    forKill.setMarkForKill();
    EXPECT_FALSE(forDeath.isAlive());
    EXPECT_FALSE(forKill.isAlive());
}

TEST(OrvoThreadEndTest, theMarkForKillDoesNotHarmAThreadThatHasEnded) {
    std::atomic<bool> done{false};
    {
        WorkThread thread([&] { return done = true, 0; });
        thread.setMarkForKill();
        thread.start();
        ASSERT_TRUE(until([&] { return thread.wait(-1) == nothingToWaitFor; }));
    }
    EXPECT_TRUE(done);
}

class Suicide : public OrvoThread {
public:
    explicit Suicide(std::atomic<bool>& gone) : m_gone(gone) {}
    ~Suicide() override { m_gone = true; }

protected:
    int run() override { return delete this, 5; }
    int run(OrvoWorkInformation& workInfo) override { return OrvoThread::run(workInfo); }

private:
    std::atomic<bool>& m_gone;
};

TEST(OrvoThreadEndTest, theWorkMayDestroyItsThreadObject) {
    Onlooker onlooker;
    for (const bool marked : {false, true}) {
        std::atomic<bool> gone{false};
        auto* thread = new Suicide(gone);
        thread->addDependent(onlooker);
        if (marked) {
            thread->setMarkForDeath();
            thread->setMarkForKill();
        }
        thread->start();
        EXPECT_TRUE(until([&] { return gone.load(); }));
    }
    letOthersRun();
    EXPECT_EQ(0, onlooker.told);
}

TEST(OrvoThreadEndTest, manyThreadsComeAndGo) {
    std::atomic<int> runs{0};
    for (int round = 0; round < 10; ++round) {
        std::vector<std::unique_ptr<WorkThread>> threads;
        for (int i = 0; i < 32; ++i) {
            threads.push_back(std::make_unique<WorkThread>([&] { return ++runs; }));
            threads.back()->start();
        }
        for (const auto& thread : threads)
            ASSERT_TRUE(until([&] { return thread->wait(-1) == nothingToWaitFor; }));
    }
    EXPECT_EQ(320, runs);
}

}  // namespace
