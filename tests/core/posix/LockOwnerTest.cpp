// Holders of a lock that end without running any code of their own, and thread ids that come back.
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <thread>

#include "OrvoCriticalSection.h"
#include "support/ChildProcess.h"

namespace {

using namespace OrvoSupport;

/// Runs the work on a new thread that is then ended by the kernel alone. Returns the thread's id once it is
/// gone. The thread counts as detached, since nothing is left of it that could be joined.
pid_t runAndEndOutright(const std::function<void()>& work) {
    const auto id = std::make_shared<std::atomic<pid_t>>(0);
    std::thread([id, &work] {
        work();
        *id = ::gettid();
        ::syscall(SYS_exit, 0);
    }).detach();
    while (*id == 0 || ::tgkill(::getpid(), *id, 0) == 0) std::this_thread::yield();
    return *id;
}

/// Starts a thread that is given the id of one that has ended; null when the system does not let us choose.
std::unique_ptr<std::thread> startWithId(pid_t id, const std::function<void()>& work) {
    for (int attempt = 0; attempt < 500; ++attempt) {
        std::ofstream last("/proc/sys/kernel/ns_last_pid");
        last << id - 1 << std::flush;
        if (!last) return nullptr;
        const auto given = std::make_shared<std::atomic<pid_t>>(0);
        auto thread = std::make_unique<std::thread>([given, id, work] {
            *given = ::gettid();
            if (*given == id) work();
        });
        while (*given == 0) std::this_thread::yield();
        if (*given == id) return thread;
        thread->join();
    }
    return nullptr;
}

/// Thread ids are told apart by the time a thread started, which the kernel gives in ticks of 10 ms.
void letAClockTickPass() { std::this_thread::sleep_for(std::chrono::milliseconds(25)); }

TEST(LockOwnerTest, lockGoesOnWhenItsHolderWasEndedOutright) {
    OrvoCriticalSectionObject lock;
    runAndEndOutright([&] {
        lock.lock();
        lock.lock();
    });
    lock.lock();
    EXPECT_EQ(1, lock.lockCount());
    lock.unlock();
    EXPECT_EQ(0, lock.lockCount());
}

TEST(LockOwnerTest, testAndSetLeavesALockFreeWhoseHolderWasEndedOutright) {
    OrvoCriticalSectionObject lock;
    runAndEndOutright([&] { lock.lock(); });
    EXPECT_FALSE(lock.testAndSet());
    EXPECT_EQ(0, lock.lockCount());
    EXPECT_TRUE(lock.testAndSet());
    lock.unlock();
}

TEST(LockOwnerTest, waitersGoOnWhenTheHolderIsEndedWhileTheyWait) {
    OrvoCriticalSectionObject lock;
    struct Signals {
        std::atomic<bool> locked{false};
        std::atomic<bool> end{false};
    };
    const auto signals = std::make_shared<Signals>();
    std::thread([&lock, signals] {
        lock.lock();
        signals->locked = true;
        while (!signals->end) std::this_thread::yield();
        ::syscall(SYS_exit, 0);
    }).detach();
    while (!signals->locked) std::this_thread::yield();
    auto waiter = std::async(std::launch::async, [&] {
        lock.lock();
        const int depth = lock.lockCount();
        lock.unlock();
        return depth;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    signals->end = true;
    EXPECT_EQ(1, waiter.get());
}

TEST(LockOwnerTest, aWaiterThatIsEndedInItsSleepLeavesTheLockToTheOthers) {
    ::signal(SIGUSR1, [](int) { ::syscall(SYS_exit, 0); });
    // Never destroyed: nothing that a sanitizer knows of comes between the last look of the ended thread and
    // that.
    static OrvoCriticalSectionObject& lock = *new OrvoCriticalSectionObject;
    lock.lock();
    const auto waiter = std::make_shared<std::atomic<pid_t>>(0);
    std::thread([waiter] {
        *waiter = ::gettid();
        lock.lock();
    }).detach();
    while (*waiter == 0) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    while (::tgkill(::getpid(), *waiter, SIGUSR1) == 0) std::this_thread::yield();
    ::signal(SIGUSR1, SIG_DFL);

    int passed = 0;
    std::thread other([&] {
        for (int i = 0; i < 1000; ++i) {
            const OrvoCriticalSection guard(lock);
            ++passed;
        }
    });
    for (int i = 0; i < 1000; ++i) {
        lock.unlock();
        lock.lock();
        ++passed;
    }
    lock.unlock();
    other.join();
    EXPECT_EQ(2000, passed);
    EXPECT_EQ(0, lock.lockCount());
}

TEST(LockOwnerTest, aThreadWithTheSameIdIsAnotherOwner) {
    OrvoCriticalSectionObject locked;
    OrvoCriticalSectionObject tried;
    const pid_t id = runAndEndOutright([&] {
        locked.lock();
        locked.lock();
        tried.lock();
    });
    int depth = -1;
    bool taken = true;
    const auto successor = startWithId(id, [&] {
        locked.unlock();
        locked.lock();
        depth = locked.lockCount();
        locked.unlock();
        taken = tried.testAndSet();
    });
    if (!successor) GTEST_SKIP() << "thread ids cannot be chosen here (needs /proc/sys/kernel/ns_last_pid)";
    successor->join();
    EXPECT_EQ(1, depth);
    EXPECT_FALSE(taken);
    EXPECT_EQ(0, tried.lockCount());
}

TEST(LockOwnerTest, aBystanderWithTheSameIdDoesNotKeepTheLock) {
    OrvoCriticalSectionObject lock;
    const pid_t id = runAndEndOutright([&] {
        lock.lock();
        letAClockTickPass();
    });
    std::promise<void> end;
    const auto bystander = startWithId(id, [&] { end.get_future().wait(); });
    if (!bystander) GTEST_SKIP() << "thread ids cannot be chosen here (needs /proc/sys/kernel/ns_last_pid)";
    EXPECT_FALSE(lock.testAndSet());
    EXPECT_EQ(0, lock.lockCount());
    EXPECT_TRUE(lock.testAndSet());
    lock.unlock();
    end.set_value();
    bystander->join();
}

TEST(LockOwnerTest, aForkedChildKeepsTheLocksOfItsOnlyThread) {
    OrvoCriticalSectionObject own;
    OrvoCriticalSectionObject others;
    std::promise<void> locked;
    std::promise<void> end;
    std::thread other([&] {
        others.lock();
        locked.set_value();
        end.get_future().wait();
        others.unlock();
    });
    locked.get_future().wait();
    own.lock();
    own.lock();

    const pid_t child = ::fork();
    if (child == 0) {
        own.unlock();
        int failures = own.lockCount() == 1 ? 0 : 1;
        own.unlock();
        failures += own.lockCount() == 0 ? 0 : 2;
        failures += others.testAndSet() ? 4 : 0;
        failures += others.testAndSet() && others.lockCount() == 1 ? 0 : 8;
        ::_exit(failures);
    }
    int status = 0;
    ASSERT_EQ(child, ::waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(0, WEXITSTATUS(status));
    end.set_value();
    other.join();
    own.unwind();
}

// The first thread of a process stays visible to the kernel until the last one has ended.
OSUPT_CHILD(endFirstThread) {
    static OrvoCriticalSectionObject lock;
    lock.lock();
    std::thread([] {
        lock.lock();
        ::_exit(lock.lockCount() == 1 ? 42 : 1);
    }).detach();
    ::syscall(SYS_exit, 0);
    return 2;
}

TEST(LockOwnerTest, noticesThatTheFirstThreadHasEnded) {
    testing_support::ChildProcess child("endFirstThread");
    EXPECT_EQ(42, child.wait(20));
}

TEST(LockOwnerTest, manyThreadsThatEndWithoutUnlockingDoNoHarm) {
    OrvoCriticalSectionObject lock;
    for (int i = 0; i < 300; ++i) std::thread([&] { lock.testAndSet(); }).join();
    lock.lock();
    EXPECT_EQ(1, lock.lockCount());
    lock.unlock();
}

}  // namespace
