// What is left when a thread is ended at once, whatever it does: on Linux nothing runs on it any more.
#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <vector>

#include "OrvoCriticalSection.h"
#include "OrvoEvent.h"
#include "OrvoThread.h"
#include "threads/posix/Worker.h"

// What an ended thread has allocated stays: that is what it is to be ended in this way.
extern "C" const char* __asan_default_options() { return "detect_leaks=0"; }

namespace {

using namespace OrvoSupport;
using namespace testing_threads;

constexpr int generousMs = 30000;
constexpr int rounds = threadSanitizer ? 10 : 100;

volatile double result;

/// What a thread may be at when it is ended.
struct Occupation {
    const char* name;
    int (*work)();
    bool sleeps;
};

// Shared by all rounds, so that anything that one of them leaves behind shows in the next.
OrvoEvent theEvent;
std::array<OrvoEvent, 3> theEvents;
OrvoCriticalSectionObject theLock;
std::mutex theMutex;
OrvoThread* theOther = nullptr;
std::array<int, 2> thePipe;

int compute() {
    for (double value = 1;; value += 1) result = value / 3;
}
/// A thread that does nothing but call the C library is hardly ever met outside, and on a busy machine would
/// be ended inside in the end.
void rest(int steps = 1000) {
    for (int value = 1; value < steps; ++value) result = value;
}
int catchAll() {
    for (;;) {
        try {
            throw std::runtime_error("again");
        } catch (...) {
        }
        rest();
    }
}
int neverThrow() noexcept { return compute(); }
int takeLocks() {
    for (;;) {
        const OrvoCriticalSection guard(theLock);
        const OrvoCriticalSection again(theLock);
    }
}
int waitForEvent() { return theEvent.wait(-1); }
int waitForEventForAWhile() {
    for (;;) theEvent.wait(1);
}
int waitForAny() { return OrvoEvent::wait(3, theEvents.data(), false, -1); }
int waitForAll() { return OrvoEvent::wait(3, theEvents.data(), true, generousMs); }
int waitForThread() { return theOther->wait(-1); }
int waitForLock() {
    theLock.lock();
    return 0;
}
int waitForMutex() {
    const std::lock_guard<std::mutex> guard(theMutex);
    return 0;
}
int sleepForEver() {
    for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}
int readPipe() {
    char byte;
    return static_cast<int>(::read(thePipe[0], &byte, 1));
}
int pollPipe() {
    pollfd waiting = {thePipe[0], POLLIN, 0};
    return ::poll(&waiting, 1, -1);
}
std::atomic<int> threadsDone{0};

// Those threads outlive the one that starts them, so they look after themselves.
int startThreads() {
    for (;;) {
        const int before = threadsDone;
        Worker* const thread = new Worker([] { return static_cast<int>(++threadsDone); });
        thread->setMarkForDeath();
        thread->start();
        while (threadsDone == before) std::this_thread::yield();
    }
}

const Occupation occupations[] = {
    {"computing", compute, false},
    {"catchingAll", catchAll, false},
    {"mayNotThrow", neverThrow, false},
    {"takingLocks", takeLocks, false},
    {"waitingForAnEvent", waitForEvent, true},
    {"waitingForAWhile", waitForEventForAWhile, false},
    {"waitingForAny", waitForAny, true},
    {"waitingForAll", waitForAll, true},
    {"waitingForAThread", waitForThread, true},
    {"waitingForALock", waitForLock, true},
    {"waitingForAMutex", waitForMutex, true},
    {"sleeping", sleepForEver, true},
    {"readingAPipe", readPipe, true},
    {"pollingAPipe", pollPipe, true},
};

class OrvoThreadKillTest : public testing::TestWithParam<Occupation> {
protected:
    OrvoThreadKillTest() : m_other(sleepForEver) {
        EXPECT_EQ(0, ::pipe(thePipe.data()));
        m_other.endInTheEnd = true;
        m_other.start();
        theOther = &m_other;
    }
    ~OrvoThreadKillTest() override {
        ::close(thePipe[0]);
        ::close(thePipe[1]);
    }

    Worker m_other;
};

TEST_P(OrvoThreadKillTest, endsAThreadThatIs) {
    const bool lockIsTaken = GetParam().work == waitForLock;
    if (lockIsTaken) theLock.lock();
    std::unique_lock<std::mutex> mutex(theMutex);
    Worker thread(GetParam().work);
    for (int i = 0; i < rounds; ++i) {
        thread.startAnew();
        if (i % 4 != 0) {
            ASSERT_TRUE(thread.hasBegun());
        }
        if (i % 4 == 2 && GetParam().sleeps) {
            ASSERT_TRUE(sleeps(thread.id()));
        }
        if (i % 3 == 0) thread.stop();
        thread.kill();
        EXPECT_FALSE(thread.isAlive());
        EXPECT_EQ(-1, thread.getExitCode());
        EXPECT_EQ(128, thread.wait(-1));
    }
    if (lockIsTaken) theLock.unlock();
    mutex.unlock();

    // Everything works for those who are left.
    theLock.lock();
    EXPECT_EQ(1, theLock.lockCount());
    theLock.unlock();
    theEvent.set();
    EXPECT_EQ(0, theEvent.wait(0));
    for (OrvoEvent& event : theEvents) event.set();
    EXPECT_EQ(0, OrvoEvent::wait(3, theEvents.data(), true, 0));
    m_other.kill();
    EXPECT_EQ(128, m_other.wait(-1));
}
INSTANTIATE_TEST_SUITE_P(Occupations, OrvoThreadKillTest, testing::ValuesIn(occupations),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(OrvoThreadKilledTest, aThreadThatStartsOthersLeavesTheLibraryInOrder) {
    Worker thread(startThreads);
    for (int i = 0; i < rounds; ++i) {
        thread.startAnew();
        ASSERT_TRUE(thread.hasBegun());
        if (i % 2 == 0) nap();
        thread.kill();
    }
}

TEST(OrvoThreadKilledTest, aThreadThatAllocatesLeavesTheAllocatorInOrder) {
    Worker thread([]() -> int {
        for (std::size_t size = 1;; size = size * 7 % 100003) {
            ::free(::malloc(size));
            std::vector<std::string> texts(3, std::string(size % 300, 'x'));
            rest();
        }
    });
    // Each takes much of the address sanitizer's memory with it.
    for (int i = 0; i < (addressSanitizer ? 1 : 10) * rounds; ++i) {
        thread.startAnew();
        ASSERT_TRUE(thread.hasBegun());
        thread.kill();
        std::vector<std::unique_ptr<char[]>> memory;
        for (std::size_t size = 16; size < 200000; size *= 2) memory.emplace_back(new char[size]);
    }
    std::thread([] { ::free(::malloc(1000)); }).join();
}

TEST(OrvoThreadKilledTest, aThreadThatPrintsLeavesTheStreamInOrder) {
    const std::unique_ptr<FILE, int (*)(FILE*)> sink(::fopen("/dev/null", "w"), ::fclose);
    Worker thread([&]() -> int {
        for (;;) {
            ::fprintf(sink.get(), "%d\n", 1);
            rest();
        }
    });
    for (int i = 0; i < rounds; ++i) {
        thread.startAnew();
        ASSERT_TRUE(thread.hasBegun());
        thread.kill();
        ::fprintf(sink.get(), "%d\n", 2);
    }
}

TEST(OrvoThreadKilledTest, aThreadThatForksLeavesTheProcessAbleToFork) {
    if (threadSanitizer) GTEST_SKIP() << "its run-time part may leave a lock of its own behind in a child";
    const auto forkOnce = [] {
        const pid_t child = ::fork();
        if (child == 0) ::_exit(0);
        return child > 0 && ::waitpid(child, nullptr, 0) == child;
    };
    Worker thread([&]() -> int {
        while (forkOnce()) continue;
        return 1;
    });
    for (int i = 0; i < rounds / 5; ++i) {
        thread.startAnew();
        ASSERT_TRUE(thread.hasBegun());
        if (i % 2 == 0) nap();
        if (i % 3 == 0) thread.stop();
        thread.kill();
        EXPECT_TRUE(forkOnce());
    }
    while (::waitpid(-1, nullptr, 0) > 0) continue;  // those it had no time to wait for
}

TEST(OrvoThreadKilledTest, aThreadThatStartsThreadsOfTheHostLeavesTheProcessAbleToDoSo) {
    if (threadSanitizer)
        GTEST_SKIP() << "its run-time part has locks of its own around the start of a thread";
    Worker thread([]() -> int {
        for (;;) {
            std::thread([] {}).join();
            rest(10000);
        }
    });
    for (int i = 0; i < rounds / 2; ++i) {
        thread.startAnew();
        ASSERT_TRUE(thread.hasBegun());
        if (i % 2 == 0) nap();
        thread.kill();
        std::thread([] {}).join();
    }
}

TEST(OrvoThreadKilledTest, itsLockIsAbandoned) {
    OrvoCriticalSectionObject lock;
    OrvoCriticalSectionObject tried;
    Worker thread([&] {
        lock.lock();
        lock.lock();
        tried.lock();
        return sleepForEver();
    });
    thread.start();
    ASSERT_TRUE(thread.hasBegun());
    ASSERT_TRUE(sleeps(thread.id()));
    thread.kill();
    ASSERT_TRUE(waitUntil([&] { return stateOf(thread.id()) == 0; }));
    EXPECT_FALSE(tried.testAndSet());
    EXPECT_TRUE(tried.testAndSet());
    tried.unlock();
    lock.lock();
    EXPECT_EQ(1, lock.lockCount());
    lock.unlock();
    thread.waitForThreadExit();
}

TEST(OrvoThreadKilledTest, aWaiterLeavesTheSignalToTheOthers) {
    OrvoEvent event;
    Worker killed([&] { return event.wait(-1); });
    Worker other([&] { return event.wait(-1); });
    for (int i = 0; i < rounds; ++i) {
        killed.startAnew();
        ASSERT_TRUE(killed.hasBegun());
        ASSERT_TRUE(sleeps(killed.id()));
        Worker second([&] { return event.wait(generousMs); });
        second.start();
        if (i % 2 == 0) {
            ASSERT_TRUE(second.hasBegun());
            ASSERT_TRUE(sleeps(second.id()));
        }
        killed.kill();
        event.set();
        second.wait(-1);
        ASSERT_EQ(0, second.getExitCode());
        ASSERT_EQ(-2, event.wait(0));
    }
}

TEST(OrvoThreadKilledTest, signalsThatMeetADyingWaiterAreLostOrKept) {
    OrvoEvent event;
    std::atomic<bool> stop{false};
    Worker setter([&] {
        while (!stop) event.set();
        return 0;
    });
    setter.start();
    Worker thread([&]() -> int {
        for (;;) event.wait(-1);
    });
    for (int i = 0; i < rounds; ++i) {
        thread.startAnew();
        thread.kill();
    }
    stop = true;
    setter.wait(-1);
    event.set();
    EXPECT_EQ(0, event.wait(0));
    EXPECT_EQ(-2, event.wait(0));
}

TEST(OrvoThreadKilledTest, whoeverSetsEventsLeavesNoWaiterAsleep) {
    OrvoEvent event;
    std::atomic<int> released{0};
    std::atomic<bool> stop{false};
    Worker waiter([&] {
        while (!stop) {
            if (event.wait(generousMs) != 0) return 1;
            ++released;
        }
        return 0;
    });
    waiter.start();
    Worker setter([&]() -> int {
        for (;;) event.set();
    });
    for (int i = 0; i < rounds; ++i) {
        setter.startAnew();
        ASSERT_TRUE(setter.hasBegun());
        setter.kill();
        const int before = released;
        event.set();
        ASSERT_TRUE(waitUntil([&] { return released != before; }));
    }
    stop = true;
    event.set();
    waiter.wait(-1);
    EXPECT_EQ(0, waiter.getExitCode());
}

std::atomic<int> destroyed{0};

struct TellsWhenDestroyed {
    ~TellsWhenDestroyed() { ++destroyed; }
    int value = 1;
};
thread_local TellsWhenDestroyed ofThread;

TEST(OrvoThreadKilledTest, nothingIsUnwoundNorDestroyed) {
    destroyed = 0;
    Worker thread([] {
        const TellsWhenDestroyed local;
        ofThread.value = 2;
        return sleepForEver();
    });
    thread.start();
    ASSERT_TRUE(thread.hasBegun());
    ASSERT_TRUE(sleeps(thread.id()));
    thread.kill();
    EXPECT_EQ(0, destroyed);

    Worker ends([] {
        ofThread.value = 2;
        return 0;
    });
    ends.start();
    ends.wait(-1);
    EXPECT_TRUE(waitUntil([] { return destroyed == 1; }));
}

TEST(OrvoThreadKilledTest, theNextThreadDoesNotInheritItsData) {
    std::array<pthread_key_t, 40> keys{};
    for (pthread_key_t& key : keys) ASSERT_EQ(0, ::pthread_key_create(&key, [](void*) { ++destroyed; }));
    destroyed = 0;
    std::atomic<int> inherited{0};
    Worker thread([&] {
        for (const pthread_key_t key : keys) {
            if (::pthread_getspecific(key) || ofThread.value != 1) ++inherited;
            ::pthread_setspecific(key, &inherited);
        }
        ofThread.value = 2;
        return sleepForEver();
    });
    for (int i = 0; i < 10; ++i) {
        thread.startAnew();
        ASSERT_TRUE(thread.hasBegun());
        ASSERT_TRUE(sleeps(thread.id()));
        thread.kill();
    }
    EXPECT_EQ(0, inherited);
    EXPECT_EQ(0, destroyed);
    for (const pthread_key_t key : keys) ::pthread_key_delete(key);
}

TEST(OrvoThreadKilledTest, byItselfItIsGoneAndTheObjectGoesOn) {
    std::atomic<int> step{0};
    Worker thread([&] {
        if (++step == 1) thread.kill();
        return 4;
    });
    thread.start();
    ASSERT_TRUE(thread.hasBegun());
    ASSERT_TRUE(waitUntil([&] { return stateOf(thread.id()) == 0; }));
    EXPECT_EQ(1, step);
    thread.kill();
    thread.start();
    thread.wait(-1);
    EXPECT_EQ(2, step);
    EXPECT_EQ(4, thread.getExitCode());
}

TEST(OrvoThreadKilledTest, whoeverWaitsForItIsTold) {
    OrvoEvent begun;
    Worker thread(sleepForEver);
    thread.start();
    Worker waiter([&] {
        begun.set();
        return thread.wait(-1) % 128;
    });
    waiter.start();
    begun.wait(-1);
    ASSERT_TRUE(sleeps(waiter.id()));
    thread.kill();
    waiter.wait(-1);
    EXPECT_EQ(0, waiter.getExitCode());
}

std::atomic<bool> begun{false};

class Task : public OrvoThread::OrvoRunnable {
public:
    explicit Task(int (*work)()) : m_work(work) {}
    using OrvoRunnable::run;
    int run() override {
        begun = true;
        return m_work();
    }

private:
    int (*const m_work)();
};

TEST(OrvoThreadKilledTest, byTheDestructorOfAMarkedObject) {
    for (int i = 0; i < rounds; ++i) {
        OrvoThread thread(new Task(i % 2 == 0 ? compute : sleepForEver));
        thread.setMarkForKill();
        begun = false;
        thread.start();
        if (i % 4 == 0) {
            ASSERT_TRUE(waitUntil([] { return begun.load(); }));
        }
        if (i % 3 == 0) thread.stop();
    }
}

}  // namespace
