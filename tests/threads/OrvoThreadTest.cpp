// A thread as a host uses it: names, work, exit codes and what dependents are told.
#include "OrvoThread.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "OrvoException.h"
#include "threads/TestThreads.h"

namespace {

using namespace thread_tests;

using Runnable = OrvoSmartPointer<OrvoThread::OrvoRunnable>;
using WorkInfo = OrvoSmartPointer<OrvoWorkInformation>;

/// Tells by its result which of the four ways to run was taken.
class RunTeller : public OrvoThread {
public:
    explicit RunTeller(Runnable runnable = nullptr) : OrvoThread(std::move(runnable), "teller") {}
    OrvoWorkInformation* item = nullptr;

protected:
    int run() override { return 1; }
    int run(OrvoWorkInformation& workInfo) override {
        item = &workInfo;
        return 2;
    }
};

class RunnableTeller : public OrvoThread::OrvoRunnable {
public:
    OrvoWorkInformation* item = nullptr;
    int run() override { return 3; }
    int run(OrvoWorkInformation& workInfo) override {
        item = &workInfo;
        return 4;
    }
};

int resultOf(OrvoThread& thread) {
    thread.start();
    EXPECT_TRUE(until([&] { return thread.wait(generousMs) == nothingToWaitFor; }));
    return thread.getExitCode();
}

TEST(OrvoThreadTest, isNamedAfterTheThreadClassUnlessToldOtherwise) {
    EXPECT_EQ("class OrvoSupport::OrvoThread", OrvoThread().getName());
    EXPECT_EQ("class OrvoSupport::OrvoThread", WorkThread([] { return 0; }).getName());
    EXPECT_EQ("class OrvoSupport::OrvoThread", OrvoThread(Runnable(new RunnableTeller)).getName());
    EXPECT_EQ("worker", OrvoThread(string("worker")).getName());
    EXPECT_EQ("", OrvoThread(string()).getName());
    EXPECT_EQ("worker", OrvoThread(Runnable(new RunnableTeller), "worker").getName());
}

TEST(OrvoThreadTest, canBeRenamed) {
    OrvoThread thread("before");
    thread.setName("after");
    EXPECT_EQ("after", thread.getName());
}

TEST(OrvoThreadTest, isNeitherCopiedNorMadeByAccident) {
    static_assert(!std::is_copy_constructible_v<OrvoThread> && !std::is_copy_assignable_v<OrvoThread>);
    static_assert(!std::is_convertible_v<string, OrvoThread>);
    static_assert(std::is_convertible_v<int, OrvoThread::ThreadDone>);
    static_assert(std::is_base_of_v<OrvoCollaborator, OrvoThread>);
    static_assert(std::is_base_of_v<OrvoObjectBase, OrvoThread>);
}

TEST(OrvoThreadTest, knowsTheNamesOfItsClasses) {
    EXPECT_EQ("OrvoSupport::OrvoThread", OrvoThread().getClassName());
    EXPECT_EQ("OrvoSupport::OrvoThread::OrvoRunnable", OrvoThread::OrvoRunnable().getClassName());
    EXPECT_EQ("OrvoSupport::OrvoWorkInformation", OrvoWorkInformation().getClassName());
}

TEST(OrvoThreadTest, hasNoThreadWhenNew) {
    OrvoThread thread;
    EXPECT_FALSE(thread.isAlive());
    EXPECT_EQ(-1, thread.getExitCode());
    EXPECT_EQ(nullptr, thread.getHandle());
    EXPECT_EQ(nothingToWaitFor, thread.wait(-1));
    EXPECT_EQ(nothingToWaitFor, thread.wait(0));
    EXPECT_FALSE(thread.setPriority(OrvoThread::PriorityNormal));
    thread.stop();
    thread.kill();
    thread.waitForThreadExit();
    EXPECT_FALSE(thread.isAlive());
}

TEST(OrvoThreadTest, doesNothingAndReturnsZeroOfItsOwn) {
    OrvoThread bare;
    EXPECT_EQ(0, resultOf(bare));
    OrvoThread withItem;
    withItem.setWorkInfo(new OrvoWorkInformation);
    EXPECT_EQ(0, resultOf(withItem));
    OrvoWorkInformation item;
    OrvoThread::OrvoRunnable runnable;
    EXPECT_EQ(0, runnable.run());
    EXPECT_EQ(0, runnable.run(item));
}

TEST(OrvoThreadTest, runsWithTheWorkItemIfThereIsOne) {
    RunTeller without;
    EXPECT_EQ(1, resultOf(without));
    RunTeller with;
    const WorkInfo item(new OrvoWorkInformation);
    with.setWorkInfo(item);
    EXPECT_EQ(2, resultOf(with));
    EXPECT_EQ(item.get(), with.item);
}

TEST(OrvoThreadTest, prefersTheRunnableToItsOwnRun) {
    const OrvoSmartPointer<RunnableTeller> runnable(new RunnableTeller);
    RunTeller without(runnable);
    EXPECT_EQ(3, resultOf(without));
    RunTeller with(runnable);
    const WorkInfo item(new OrvoWorkInformation);
    with.setWorkInfo(item);
    EXPECT_EQ(4, resultOf(with));
    EXPECT_EQ(item.get(), runnable->item);
    EXPECT_EQ(nullptr, with.item);
}

TEST(OrvoThreadTest, holdsOneReferenceToRunnableAndItemAsLongAsItLives) {
    const Runnable runnable(new RunnableTeller);
    const WorkInfo item(new OrvoWorkInformation);
    {
        OrvoThread thread(runnable);
        thread.setWorkInfo(item);
        EXPECT_EQ(2u, runnable->refCount());
        EXPECT_EQ(2u, item->refCount());
        resultOf(thread);
        EXPECT_EQ(2u, runnable->refCount());
        EXPECT_EQ(2u, item->refCount());
    }
    EXPECT_EQ(1u, runnable->refCount());
    EXPECT_EQ(1u, item->refCount());
}

TEST(OrvoThreadTest, replacesTheWorkItem) {
    const WorkInfo first(new OrvoWorkInformation);
    const WorkInfo second(new OrvoWorkInformation);
    RunTeller thread;
    thread.setWorkInfo(first);
    thread.setWorkInfo(second);
    EXPECT_EQ(1u, first->refCount());
    EXPECT_EQ(2, resultOf(thread));
    EXPECT_EQ(second.get(), thread.item);
    thread.setWorkInfo(nullptr);
    EXPECT_EQ(1u, second->refCount());
}

TEST(OrvoThreadTest, worksOnAThreadOfItsOwn) {
    std::atomic<int> id{0};
    WorkThread thread([&] { return id = OrvoThread::getCurrentThreadId(), 0; });
    resultOf(thread);
    EXPECT_NE(0, id);
    EXPECT_NE(OrvoThread::getCurrentThreadId(), id);
    EXPECT_EQ(OrvoThread::getCurrentThreadId(), OrvoThread::getCurrentThreadId());
}

TEST(OrvoThreadTest, exitCodeIsTheResultOnceTheWorkHasEnded) {
    for (const int result : {7, 0, -1, -2147483647 - 1, 2147483647}) {
        Door door;
        WorkThread thread([&] { return door.pass(), result; });
        EXPECT_EQ(-1, thread.getExitCode());
        thread.start();
        EXPECT_EQ(-1, thread.getExitCode());
        door.open();
        ASSERT_TRUE(until([&] { return thread.wait(-1) == nothingToWaitFor; }));
        EXPECT_EQ(result, thread.getExitCode());
    }
}

TEST(OrvoThreadTest, staysAliveAfterItsWork) {
    OrvoThread thread;
    thread.start();
    EXPECT_TRUE(thread.isAlive());
    EXPECT_NE(nullptr, thread.getHandle());
    ASSERT_TRUE(until([&] { return thread.wait(-1) == nothingToWaitFor; }));
    EXPECT_TRUE(thread.isAlive());
    EXPECT_NE(nullptr, thread.getHandle());
}

TEST(OrvoThreadTest, worksAtMostOnce) {
    std::atomic<int> runs{0};
    Onlooker onlooker;
    WorkThread thread([&] { return ++runs; });
    thread.addDependent(onlooker);
    resultOf(thread);
    void* const handle = thread.getHandle();
    thread.start();
    thread.start();
    letOthersRun();
    EXPECT_EQ(1, runs);
    EXPECT_EQ(1, onlooker.told);
    EXPECT_EQ(1, thread.getExitCode());
    EXPECT_EQ(handle, thread.getHandle());
    EXPECT_EQ(nothingToWaitFor, thread.wait(-1));
}

TEST(OrvoThreadTest, aStartWhileItWorksChangesNothing) {
    Door door;
    std::atomic<int> runs{0};
    WorkThread thread([&] { return door.pass(), ++runs; });
    thread.start();
    thread.start();
    ASSERT_TRUE(until([&] { return door.hasVisitors(); }));
    thread.start();
    door.open();
    thread.wait(generousMs);
    EXPECT_EQ(1, runs);
}

TEST(OrvoThreadTest, severalStartsAtOnceMakeOneThread) {
    for (int round = 0; round < 50; ++round) {
        std::atomic<int> runs{0};
        std::atomic<int> ready{0};
        WorkThread thread([&] { return ++runs; });
        const auto start = [&] {
            ++ready;
            while (ready < 3) std::this_thread::yield();
            thread.start();
        };
        std::thread first(start);
        std::thread second(start);
        start();
        first.join();
        second.join();
        ASSERT_TRUE(until([&] { return thread.wait(-1) == nothingToWaitFor && runs > 0; }));
        ASSERT_EQ(1, runs);
    }
}

// --- exceptions
// ---------------------------------------------------------------------------------------------

TEST(OrvoThreadTest, anExceptionEndsTheWorkWithExitCodeZero) {
    class OwnWork : public OrvoThread {
    public:
        explicit OwnWork(Work work) : m_work(std::move(work)) {}

    protected:
        int run() override { return m_work(); }
        int run(OrvoWorkInformation& workInfo) override { return OrvoThread::run(workInfo); }

    private:
        Work m_work;
    };
    const Work throwing[] = {
        [] { return throw OrvoException(string("lost")), 1; },
        [] { return throw OrvoPropertyNotFound("key"), 1; },
        [] { return throw std::runtime_error("lost"), 1; },
        [] { return throw 5, 1; },
    };
    for (const Work& work : throwing) {
        Onlooker onlooker;
        OwnWork thread(work);
        thread.addDependent(onlooker);
        EXPECT_EQ(0, resultOf(thread));
        EXPECT_EQ(1, onlooker.told);
        EXPECT_EQ(0, onlooker.lastExitCode);

        Onlooker other;
        WorkThread withRunnable(work);
        withRunnable.addDependent(other);
        EXPECT_EQ(0, resultOf(withRunnable));
        EXPECT_EQ(1, other.told);
    }
}

TEST(OrvoThreadTest, anExceptionOfAHandlerChangesNothingForTheThread) {
    Onlooker first;
    Onlooker throwing([] { throw OrvoException(string("lost")); });
    Onlooker unlucky;
    WorkThread thread([] { return 9; });
    thread.addDependent(first);
    thread.addDependent(throwing);
    thread.addDependent(unlucky);
    EXPECT_EQ(9, resultOf(thread));
    thread.waitForThreadExit();
    EXPECT_EQ(1, first.told);
    EXPECT_EQ(1, throwing.told);
    EXPECT_EQ(0, unlucky.told);
}

TEST(OrvoThreadTest, anExceptionOfAHandlerKeepsNoThreadFromDeletingItself) {
    std::atomic<bool> deleted{false};
    Onlooker throwing([] { throw std::runtime_error("lost"); });
    auto* thread = new WorkThread([] { return 9; });
    thread->onDestruction([&](OrvoThread&) { deleted = true; });
    thread->addDependent(throwing);
    thread->setMarkForDeath();
    thread->start();
    EXPECT_TRUE(until([&] { return deleted.load(); }));
}

// --- what dependents are told
// -------------------------------------------------------------------------------

TEST(OrvoThreadTest, tellsDependentsOnItsOwnThreadBeforeTheExitCodeIsKnown) {
    std::atomic<int> workerId{0};
    std::atomic<int> exitCodeThen{0};
    std::atomic<int> waitThen{0};
    std::atomic<bool> aliveThen{false};
    WorkThread thread([&] { return workerId = OrvoThread::getCurrentThreadId(), 42; });
    Onlooker onlooker([&] {
        exitCodeThen = thread.getExitCode();
        waitThen = thread.wait(0);
        aliveThen = thread.isAlive();
    });
    thread.addDependent(onlooker);
    EXPECT_EQ(42, resultOf(thread));
    EXPECT_EQ(1, onlooker.told);
    EXPECT_EQ(42, onlooker.lastExitCode);
    EXPECT_EQ(workerId, onlooker.threadId);
    EXPECT_EQ(static_cast<OrvoCollaborator*>(&thread), onlooker.lastSource);
    EXPECT_EQ(-1, exitCodeThen);
    EXPECT_EQ(timedOut, waitThen);
    EXPECT_TRUE(aliveThen);
}

TEST(OrvoThreadTest, whoIsRegisteredTwiceIsToldTwiceAndWhoLeftIsNot) {
    Onlooker twice;
    Onlooker gone;
    OrvoThread thread;
    thread.addDependent(twice);
    thread.addDependent(gone);
    thread.addDependent(twice);
    thread.removeDependent(gone);
    resultOf(thread);
    EXPECT_EQ(2, twice.told);
    EXPECT_EQ(0, gone.told);
}

TEST(OrvoThreadTest, holdsItsLockWhileDependentsAreTold) {
    Door door;
    std::atomic<bool> joined{false};
    std::atomic<bool> joinedThen{false};
    Onlooker onlooker([&] {
        door.pass();
        letOthersRun();
        joinedThen = joined.load();
    });
    OrvoThread thread;
    thread.addDependent(onlooker);
    thread.start();
    ASSERT_TRUE(until([&] { return door.hasVisitors(); }));
    std::thread joiner([&] {
        thread.waitForThreadExit();
        joined = true;
    });
    door.open();
    joiner.join();
    EXPECT_FALSE(joinedThen);
    EXPECT_EQ(1, onlooker.told);
}

TEST(OrvoThreadTest, tellsThroughItsVirtualNotify) {
    class Proclaimer : public OrvoThread {
    public:
        void notify(const OrvoNotification& note) override {
            exitCode = dynamic_cast<const ThreadDone&>(note).exitCode;
        }
        std::atomic<int> exitCode{-1};

    protected:
        int run() override { return 11; }
        int run(OrvoWorkInformation& workInfo) override { return OrvoThread::run(workInfo); }
    };
    Proclaimer thread;
    EXPECT_EQ(11, resultOf(thread));
    EXPECT_EQ(11, thread.exitCode);
}

TEST(OrvoThreadTest, aThreadDoneCopiesItsExitCodeOnly) {
    OrvoThread::ThreadDone done(5);
    done.setId(1);
    OrvoThread::ThreadDone other = 6;
    other.setId(2);
    const OrvoThread::ThreadDone copy(done);
    EXPECT_EQ(5, copy.exitCode);
    other = done;
    EXPECT_EQ(5, other.exitCode);
    EXPECT_EQ(2, other.getId());
    static_assert(std::is_same_v<std::int32_t, decltype(done.exitCode)>);
}

TEST(OrvoThreadTest, isCalledThroughItsBasesAndOverriddenOperations) {
    class Other : public OrvoThread {
    public:
        void start() override { calls += "start "; }
        void stop() override { calls += "stop "; }
        void setWorkInfo(OrvoSmartPointer<OrvoWorkInformation>) override { calls += "info "; }
        int wait(int) override { return calls += "wait ", 77; }
        bool setPriority(t_Priority) override { return calls += "priority", true; }
        std::string calls;
    };
    Other other;
    OrvoThread& thread = other;
    thread.start();
    thread.stop();
    thread.setWorkInfo(nullptr);
    EXPECT_EQ(77, thread.wait(1));
    EXPECT_TRUE(thread.setPriority(OrvoThread::PriorityIdle));
    EXPECT_EQ("start stop info wait priority", other.calls);
}

}  // namespace
