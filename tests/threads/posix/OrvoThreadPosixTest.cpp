// Stopping, priorities, cancellation, failures and forks: threads where only Linux goes.
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "OrvoCriticalSection.h"
#include "OrvoEvent.h"
#include "OrvoThread.h"
#include "support/ChildProcess.h"
#include "threads/posix/Worker.h"

namespace {

using namespace OrvoSupport;
using namespace testing_threads;
using testing_support::ChildProcess;

constexpr int generousMs = 30000;

/// A thread that counts until it is ended.
class Counting : public Counter, public Worker {
public:
    Counting() : Worker([this] { return count(); }) { endInTheEnd = true; }
};

TEST(OrvoThreadStopTest, holdsAComputingThreadUntilStart) {
    Counting thread;
    thread.start();
    for (int i = 0; i < 50; ++i) {
        ASSERT_TRUE(thread.goesOn());
        thread.stop();
        ASSERT_TRUE(thread.stands());
        thread.start();
    }
}

TEST(OrvoThreadStopTest, nests) {
    Counting thread;
    thread.start();
    ASSERT_TRUE(thread.goesOn());
    for (int i = 0; i < 3; ++i) thread.stop();
    EXPECT_TRUE(thread.stands());
    for (int i = 0; i < 2; ++i) {
        thread.start();
        EXPECT_TRUE(thread.stands());
    }
    thread.start();
    EXPECT_TRUE(thread.goesOn());
    thread.start();  // one too many changes nothing
    thread.stop();
    EXPECT_TRUE(thread.stands());
}

TEST(OrvoThreadStopTest, isCountedFromManyThreads) {
    Counting thread;
    thread.start();
    std::vector<std::thread> others;
    for (int t = 0; t < 4; ++t) {
        others.emplace_back([&] {
            for (int i = 0; i < 100; ++i) {
                thread.stop();
                EXPECT_TRUE(thread.stands());
                thread.start();
            }
        });
    }
    for (std::thread& other : others) other.join();
    EXPECT_TRUE(thread.goesOn());
}

TEST(OrvoThreadStopTest, rightAfterStartHoldsTheThread) {
    for (int i = 0; i < 50; ++i) {
        Counting thread;
        thread.start();
        thread.stop();
        ASSERT_TRUE(thread.stands());
    }
}

TEST(OrvoThreadStopTest, ofAThreadItselfLastsUntilStart) {
    std::atomic<int> step{0};
    Worker thread([&] {
        step = 1;
        thread.stop();
        step = 2;
        return 5;
    });
    thread.start();
    ASSERT_TRUE(waitUntil([&] { return step == 1; }));
    EXPECT_TRUE(sleeps(thread.id()));
    EXPECT_EQ(1, step);
    thread.start();
    thread.wait(-1);
    EXPECT_EQ(2, step);
    EXPECT_EQ(5, thread.getExitCode());
}

TEST(OrvoThreadStopTest, ofTwoThreadsByEachOtherHoldsAtLeastOne) {
    for (int i = 0; i < 50; ++i) {
        std::array<Worker*, 2> threads{};
        std::atomic<int> ready{0};
        std::array<std::atomic<bool>, 2> through{};
        const auto stopOther = [&](std::size_t self) {
            ++ready;
            while (ready != 2) std::this_thread::yield();
            threads[1 - self]->stop();
            through[self] = true;
            return 0;
        };
        Worker one([&] { return stopOther(0); });
        Worker two([&] { return stopOther(1); });
        threads = {&one, &two};
        for (Worker* thread : threads) thread->endInTheEnd = true;
        for (Worker* thread : threads) thread->start();
        ASSERT_TRUE(waitUntil([&] {
            return through[0] || through[1] || (stateOf(one.id()) == 'S' && stateOf(two.id()) == 'S');
        }));
        for (Worker* thread : threads) thread->kill();  // each may be at the other's object
    }
}

TEST(OrvoThreadStopTest, leavesWhatTheThreadComputesAsItWas) {
    std::atomic<bool> stop{false};
    std::atomic<int> wrong{0};
    Worker thread([&] {
        while (!stop) {
            errno = 123;
            double sum = 0;
            for (int i = 1; i < 1000; ++i) sum += 1.0 / i;
            if (sum < 7.48447 || sum > 7.48448 || errno != 123) ++wrong;
        }
        return 7;
    });
    thread.start();
    for (int i = 0; i < 300; ++i) {
        thread.stop();
        thread.start();
    }
    stop = true;
    thread.wait(-1);
    EXPECT_EQ(0, wrong);
}

TEST(OrvoThreadStopTest, doesNotEndAReadOnAPipe) {
    std::array<int, 2> pipe{};
    ASSERT_EQ(0, ::pipe(pipe.data()));
    Worker thread([&] {
        char byte = 0;
        return ::read(pipe[0], &byte, 1) == 1 ? byte : -2;
    });
    thread.start();
    ASSERT_TRUE(thread.hasBegun());
    for (int i = 0; i < 20; ++i) {
        ASSERT_TRUE(sleeps(thread.id()));
        thread.stop();
        thread.start();
    }
    thread.stop();
    ASSERT_EQ(1, ::write(pipe[1], "x", 1));
    nap();
    EXPECT_EQ(-1, thread.getExitCode());
    thread.start();
    thread.wait(-1);
    EXPECT_EQ('x', thread.getExitCode());
    ::close(pipe[0]);
    ::close(pipe[1]);
}

TEST(OrvoThreadStopTest, keepsAWaitForAnEventAndItsSignal) {
    OrvoEvent event;
    Worker thread([&] { return event.wait(-1); });
    thread.start();
    ASSERT_TRUE(thread.hasBegun());
    ASSERT_TRUE(sleeps(thread.id()));
    thread.stop();
    event.set();
    EXPECT_EQ(-2, event.wait(0));
    thread.start();
    thread.wait(-1);
    EXPECT_EQ(0, thread.getExitCode());
}

TEST(OrvoThreadStopTest, neverHoldsTheAllocatorOrTheStandardStreams) {
    std::atomic<bool> stop{false};
    const std::unique_ptr<FILE, int (*)(FILE*)> sink(::fopen("/dev/null", "w"), ::fclose);
    Worker thread([&] {
        while (!stop) {
            ::free(::malloc(100));
            ::fprintf(sink.get(), "%d\n", 1);
        }
        return 0;
    });
    thread.start();
    ASSERT_TRUE(thread.hasBegun());
    for (int i = 0; i < 300; ++i) {
        thread.stop();
        ::fprintf(sink.get(), "%d\n", 2);
        std::vector<std::unique_ptr<char[]>> memory;
        for (std::size_t size = 16; size < 4096; size *= 2) memory.emplace_back(new char[size]);
        thread.start();
    }
    stop = true;
    EXPECT_EQ(0, thread.wait(generousMs) % 128);
}

TEST(OrvoThreadStopTest, reachesAThreadWhoseStarterBlocksAllSignals) {
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    {
        Counting thread;
        thread.start();
        ASSERT_TRUE(thread.goesOn());
        thread.stop();
        EXPECT_TRUE(thread.stands());
        sigset_t now;
        ::pthread_sigmask(SIG_SETMASK, nullptr, &now);
        EXPECT_TRUE(::sigismember(&now, SIGRTMAX - 3));
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST(OrvoThreadStopTest, reachesAThreadThatBlocksAllSignalsOnceItLetsThemThrough) {
    std::atomic<bool> blocked{false};
    std::atomic<bool> letThrough{false};
    Worker thread([&]() -> int {
        sigset_t all;
        sigset_t before;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before);
        blocked = true;
        while (!letThrough) std::this_thread::yield();
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
        for (;;) std::this_thread::yield();
    });
    thread.start();
    ASSERT_TRUE(waitUntil([&] { return blocked.load(); }));
    std::atomic<bool> stopped{false};
    std::thread other([&] {
        thread.stop();
        stopped = true;
        thread.kill();
    });
    nap();
    EXPECT_FALSE(stopped);
    letThrough = true;
    other.join();
    EXPECT_FALSE(thread.isAlive());
}

TEST(OrvoThreadStopTest, ofAStoppedThreadDoesNotKeepTheProcessFromChangingItsUser) {
    Counting thread;
    thread.start();
    ASSERT_TRUE(thread.goesOn());
    thread.stop();
    EXPECT_EQ(0, ::setuid(::getuid()));  // the C library makes every thread take part
    EXPECT_TRUE(thread.stands());
}

TEST(OrvoThreadStopTest, aSignalFromElsewhereChangesNothing) {
    Counting thread;
    thread.start();
    thread.stop();
    thread.start();
    ASSERT_TRUE(thread.hasBegun());
    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(0, ::kill(::getpid(), SIGRTMAX - 3));
        ASSERT_EQ(0, ::syscall(SYS_tgkill, ::getpid(), thread.id(), SIGRTMAX - 3));
    }
    EXPECT_TRUE(thread.goesOn());
}

struct Level {
    OrvoThread::t_Priority priority;
    int nice;  // from the normal one
};
constexpr std::array<Level, 5> niceLevels = {{{OrvoThread::PriorityAboveNormal, -5},
                                              {OrvoThread::PriorityHighest, -10},
                                              {OrvoThread::PriorityBelowNormal, 5},
                                              {OrvoThread::PriorityLowest, 10},
                                              {OrvoThread::PriorityNormal, 0}}};

int niceOf(pid_t thread) { return ::getpriority(PRIO_PROCESS, static_cast<id_t>(thread)); }

TEST(OrvoThreadPriorityTest, isThatOfTheOneThread) {
    const int normal = niceOf(0);
    Counting thread;
    EXPECT_FALSE(thread.setPriority(OrvoThread::PriorityNormal));
    thread.start();
    ASSERT_TRUE(thread.hasBegun());
    for (const Level& level : niceLevels) {
        const bool taken = thread.setPriority(level.priority);
        if (::geteuid() == 0) {
            EXPECT_TRUE(taken);
        }
        if (taken && ::geteuid() == 0) {
            EXPECT_EQ(std::clamp(normal + level.nice, -20, 19), niceOf(thread.id()));
        }
    }
    EXPECT_TRUE(thread.setPriority(OrvoThread::PriorityIdle));
    EXPECT_EQ(SCHED_IDLE, ::sched_getscheduler(thread.id()));
    EXPECT_TRUE(thread.setPriority(OrvoThread::PriorityNormal));
    EXPECT_EQ(normal, niceOf(0));
    if (::geteuid() != 0) return;
    EXPECT_EQ(SCHED_OTHER, ::sched_getscheduler(thread.id()));
    EXPECT_TRUE(thread.setPriority(OrvoThread::PriorityTimeCritical));
    EXPECT_EQ(-20, niceOf(thread.id()));
}

TEST(OrvoThreadPriorityTest, idleThreadsAreStoppedAndEndedToo) {
    Counting thread;
    thread.start();
    EXPECT_TRUE(thread.setPriority(OrvoThread::PriorityIdle));
    thread.stop();
    EXPECT_TRUE(thread.stands());
}

// A process without rights can lower a priority and cannot raise it again.
OSUPT_CHILD(usePrioritiesWithoutRights) {
    if (::setuid(65534) != 0) return 77;
    Counting thread;
    thread.start();
    int failures = thread.setPriority(OrvoThread::PriorityHighest) ? 1 : 0;
    failures += thread.setPriority(OrvoThread::PriorityTimeCritical) ? 2 : 0;
    failures += thread.setPriority(OrvoThread::PriorityLowest) ? 0 : 4;
    failures += thread.setPriority(OrvoThread::PriorityBelowNormal) ? 8 : 0;
    failures += thread.setPriority(OrvoThread::PriorityNormal) ? 0 : 16;
    failures += thread.setPriority(OrvoThread::PriorityIdle) ? 0 : 32;
    ::_exit(failures);  // without the leak check of a sanitizer, which needs rights of its own
}

TEST(OrvoThreadPriorityTest, isRefusedWithoutRights) {
    if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can give up rights for a child";
    ChildProcess child("usePrioritiesWithoutRights");
    EXPECT_EQ(0, child.wait());
}

TEST(OrvoThreadForkTest, theChildFindsTheThreadsOfItsParentEnded) {
    if (threadSanitizer) GTEST_SKIP() << "its run-time part starts no threads in a child";
    Counting thread;
    OrvoThread never;
    thread.start();
    ASSERT_TRUE(thread.goesOn());
    for (int i = 0; i < 10; ++i) {
        if (i % 2 == 0) thread.stop();
        const pid_t child = ::fork();
        if (child == 0) {
            ::alarm(60);
            thread.start();
            thread.stop();
            int failures = thread.wait(-1) == 0 ? 0 : 1;
            failures += thread.setPriority(OrvoThread::PriorityLowest) ? 2 : 0;
            thread.kill();
            failures += thread.isAlive() ? 4 : 0;
            thread.start();
            failures += thread.goesOn() ? 0 : 8;
            thread.stop();
            failures += thread.stands() ? 0 : 16;
            thread.kill();
            ::_exit(failures);
        }
        int status = 0;
        ASSERT_EQ(child, ::waitpid(child, &status, 0));
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(0, WEXITSTATUS(status));
        if (i % 2 == 0) thread.start();
        ASSERT_TRUE(thread.goesOn());
    }
}

TEST(OrvoThreadForkTest, aDestructorInTheChildDoesNotWait) {
    OrvoEvent never;
    auto waiting = std::make_unique<Worker>([&] { return never.wait(-1); });
    waiting->start();
    ASSERT_TRUE(waiting->hasBegun());
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(60);
        waiting.reset();
        ::_exit(0);
    }
    int status = -1;
    ASSERT_EQ(child, ::waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    waiting->kill();
}

TEST(OrvoThreadForkTest, aThreadThatForksGoesOnInTheChild) {
    if (threadSanitizer) GTEST_SKIP() << "its run-time part starts no threads in a child";
    std::atomic<int> status{-1};
    Worker thread([&] {
        const pid_t child = ::fork();
        if (child == 0) {
            ::alarm(60);
            thread.setPriority(OrvoThread::PriorityLowest);
            Counting other;
            other.start();
            const bool counts = other.goesOn();
            other.kill();
            ::_exit(counts ? 0 : 1);
        }
        int ended = -1;
        ::waitpid(child, &ended, 0);
        status = ended;
        return 0;
    });
    thread.start();
    thread.wait(-1);
    EXPECT_EQ(0, status);
}

TEST(OrvoThreadForkTest, whatIsWantedOfAThreadThatForksIsNotWantedOfTheChild) {
    if (threadSanitizer) GTEST_SKIP() << "its run-time part starts no threads in a child";
    std::atomic<int> status{-1};
    int go[2];
    ASSERT_EQ(0, ::pipe(go));
    Worker thread([&] {
        sigset_t all;
        sigset_t before;
        sigset_t pending;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before);
        if (!waitUntil(
                [&] { return ::sigpending(&pending) == 0 && ::sigismember(&pending, SIGRTMAX - 3) == 1; }))
            return 1;
        const pid_t child = ::fork();
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
        if (child == 0) {
            ::alarm(60);
            std::atomic<bool> stopped{false};
            std::atomic<unsigned> steps{0};
            Worker other([&] {
                thread.stop();
                stopped = true;
                thread.start();
                return 0;
            });
            other.start();
            while (!stopped) ++steps;
            char byte;
            ::_exit(::read(go[0], &byte, 1) == 1 ? 0 : 1);  // not before its parent stands still
        }
        int ended = -1;
        ::waitpid(child, &ended, 0);
        status = ended;
        return 0;
    });
    thread.start();
    ASSERT_TRUE(thread.hasBegun());
    thread.stop();
    EXPECT_EQ(-1, status);
    EXPECT_EQ(1, ::write(go[1], "", 1));
    thread.start();
    thread.wait(-1);
    EXPECT_EQ(0, status);
    ::close(go[0]);
    ::close(go[1]);
}

OSUPT_CHILD(startWithoutRoomForThreads) {
    if (arguments.at(0) == "processes" && ::setuid(65534) != 0) return 77;
    const bool space = arguments.at(0) == "space";
    std::vector<std::unique_ptr<Worker>> threads;
    OrvoEvent go;
    rlimit limit = {};
    if (space) {
        limit = {std::uint64_t{1} << 30, std::uint64_t{1} << 30};
    } else {
        limit = {1, 1};
    }
    ::setrlimit(space ? RLIMIT_AS : RLIMIT_NPROC, &limit);
    Worker refused([] { return 3; });
    int failures = 0;
    bool met = false;
    for (int i = 0; i < 1000 && !met; ++i) {
        threads.push_back(std::make_unique<Worker>([&] { return go.wait(-1); }));
        threads.back()->endInTheEnd = true;
        threads.back()->start();
        // A thread that begins may need room for a moment only, which would be there again for the next.
        met = !threads.back()->isAlive() || !threads.back()->hasBegun();
    }
    if (!met) return 78;
    refused.start();
    failures += refused.isAlive() ? 1 : 0;
    failures += refused.getExitCode() == -1 ? 0 : 2;
    failures += refused.wait(-1) == 128 ? 0 : 4;
    failures += refused.getHandle() ? 8 : 0;
    threads.clear();
    refused.kill();
    refused.stop();
    failures += refused.setPriority(OrvoThread::PriorityNormal) ? 16 : 0;
    if (!space) return failures;
    refused.start();
    failures += refused.isAlive() ? 0 : 32;
    refused.wait(-1);
    failures += refused.getExitCode() == 3 ? 0 : 64;
    return failures;
}

class OrvoThreadRoomTest : public testing::TestWithParam<const char*> {};

TEST_P(OrvoThreadRoomTest, aThreadThatCannotBeMadeLeavesTheObjectAsItWas) {
    if (addressSanitizer || threadSanitizer)
        GTEST_SKIP() << "sanitizers need more room than the limits leave";
    if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can give up rights for a child";
    ChildProcess child("startWithoutRoomForThreads", {GetParam()});
    EXPECT_EQ(0, child.wait()) << child.output();
}
INSTANTIATE_TEST_SUITE_P(Limits, OrvoThreadRoomTest, testing::Values("space", "processes"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
