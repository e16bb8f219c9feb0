// Many threads that start, stop, wait for and end many others, and that nothing is left of them.
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <random>
#include <vector>

#include "OrvoEvent.h"
#include "OrvoThread.h"
#include "support/Plugin.h"
#include "threads/posix/Worker.h"

namespace {

using namespace OrvoSupport;
using namespace testing_threads;
using testing_support::Resources;
using testing_support::resourcesInUse;

constexpr int hosts = 8;
constexpr auto duration = std::chrono::seconds(2);

// What ended threads leave in the C library and the sanitizers is theirs.
extern "C" const char* __asan_default_options() { return "detect_leaks=0"; }

/// Runs the body on eight threads until the time is over.
template <class Body>
void runOnAll(const Body& body) {
    std::vector<std::thread> threads;
    for (int t = 0; t < hosts; ++t) {
        threads.emplace_back([&, t] {
            std::minstd_rand random(static_cast<unsigned>(t + 1));
            const auto end = Clock::now() + duration;
            for (int i = 0; Clock::now() < end && i < (threadSanitizer ? 100 : 1000000); ++i) body(random);
        });
    }
    for (std::thread& thread : threads) thread.join();
}

/// A sanitizer may bring a thread of its own along with the first of a program.
long threadsAtRest() {
    std::thread([] {}).join();
    return resourcesInUse().threads;
}

bool threadsAreBackAt(long count) {
    return waitUntil([=] { return resourcesInUse().threads <= count; });
}

TEST(OrvoThreadStressTest, eachLooksAfterThreadsOfItsOwn) {
    const long before = threadsAtRest();
    OrvoEvent event;
    runOnAll([&](std::minstd_rand& random) {
        const int waits = static_cast<int>(random() % 4);
        Worker thread([&] { return waits == 0 ? 1 : event.wait(waits); });
        thread.endInTheEnd = random() % 4 == 0;
        thread.start();
        for (unsigned stops = random() % 4; stops > 0; --stops) {
            thread.stop();
            if (random() % 2 == 0) event.set();
            thread.start();
        }
        if (random() % 4 == 0) thread.setPriority(OrvoThread::PriorityBelowNormal);
        if (random() % 4 == 0) thread.kill();
        thread.wait(static_cast<int>(random() % 5));
    });
    EXPECT_TRUE(threadsAreBackAt(before));
}

TEST(OrvoThreadStressTest, allUseTheSameThreads) {
    const long before = threadsAtRest();
    {
        std::array<Counter, 3> counters;
        std::vector<std::unique_ptr<Worker>> threads;
        for (Counter& counter : counters) {
            threads.push_back(std::make_unique<Worker>([&] { return counter.count(); }));
            threads.back()->endInTheEnd = true;
        }
        runOnAll([&](std::minstd_rand& random) {
            Worker& thread = *threads[random() % threads.size()];
            switch (random() % 8) {
                case 0: thread.kill(); break;
                case 1: thread.wait(static_cast<int>(random() % 2)); break;
                case 2: thread.setPriority(OrvoThread::PriorityNormal); break;
                case 3:
                case 4: thread.stop(); break;
                default: thread.start(); break;
            }
        });
        for (auto& thread : threads) thread->kill();
    }
    EXPECT_TRUE(threadsAreBackAt(before));
}

std::atomic<int> alive{0};

class SelfDeleting : public OrvoThread {
public:
    SelfDeleting() {
        ++alive;
        setMarkForDeath();
    }
    ~SelfDeleting() override { --alive; }
    using OrvoThread::run;
    int run() override {
        std::this_thread::yield();
        return 1;
    }
};

TEST(OrvoThreadStressTest, threadsThatDeleteThemselvesLeaveNothing) {
    const long threads = threadsAtRest();
    const auto round = [] {
        runOnAll([](std::minstd_rand& random) {
            SelfDeleting* const thread = new SelfDeleting;
            thread->start();
            if (random() % 2 == 0) waitUntil([] { return alive < 50; });
        });
        return waitUntil([] { return alive == 0; });
    };
    ASSERT_TRUE(round());
    ASSERT_TRUE(threadsAreBackAt(threads));
    const Resources before = resourcesInUse();
    ASSERT_TRUE(round());
    EXPECT_TRUE(threadsAreBackAt(before.threads));
    const Resources after = resourcesInUse();
    EXPECT_LE(after.handles, before.handles);
    if (!threadSanitizer && !addressSanitizer) {
        EXPECT_LE(after.mappings, before.mappings + 40);  // the C library keeps some stacks and heaps
        EXPECT_LE(after.heapBytes, before.heapBytes + 64 * 1024);
    }
}

TEST(OrvoThreadStressTest, startsStopsAndEndsLeaveNoHandlesAndMappings) {
    const auto round = [](int count) {
        Counter counter;
        for (int i = 0; i < count; ++i) {
            Worker thread([&] { return counter.count(); });
            thread.endInTheEnd = true;
            thread.start();
            if (i % 2 == 0) thread.stop();
        }
    };
    const int count = threadSanitizer ? 50 : 500;
    round(count);
    const Resources before = resourcesInUse();
    round(count);
    EXPECT_TRUE(threadsAreBackAt(before.threads));
    const Resources after = resourcesInUse();
    EXPECT_LE(after.handles, before.handles);
    // There, threads that were ended cannot be joined.
    if (!threadSanitizer) {
        EXPECT_LE(after.mappings, before.mappings + 20);
    }
}

}  // namespace
