// Threads as the system sees them: handles, exit codes, priorities, and a process that goes on after many
// kills.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <memory>

#include "support/Plugin.h"
#include "threads/TestThreads.h"

namespace {

using namespace thread_tests;
using testing_support::Resources;
using testing_support::resourcesInUse;
using testing_support::resourcesOnceThreadsHaveEnded;

HANDLE handleOf(OrvoThread& thread) { return *static_cast<HANDLE*>(thread.getHandle()); }

/// A handle that stays when the thread object gives up its own.
class KeptHandle {
public:
    explicit KeptHandle(OrvoThread& thread) {
        ::DuplicateHandle(::GetCurrentProcess(), handleOf(thread), ::GetCurrentProcess(), &m_handle, 0, FALSE,
                          DUPLICATE_SAME_ACCESS);
    }
    ~KeptHandle() { ::CloseHandle(m_handle); }
    KeptHandle(const KeptHandle&) = delete;
    KeptHandle& operator=(const KeptHandle&) = delete;

    DWORD exitCode() const {
        EXPECT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(m_handle, generousMs));
        DWORD code = STILL_ACTIVE;
        ::GetExitCodeThread(m_handle, &code);
        return code;
    }

private:
    HANDLE m_handle = nullptr;
};

TEST(OrvoThreadSystemTest, theResultIsTheExitCodeOfTheSystemsThread) {
    WorkThread thread([] { return -5; });
    thread.start();
    EXPECT_EQ(static_cast<DWORD>(-5), KeptHandle(thread).exitCode());
}

TEST(OrvoThreadSystemTest, theNumberOfAThreadIsTheSystemsOne) {
    std::atomic<bool> same{false};
    WorkThread thread([&] {
        same = static_cast<DWORD>(OrvoThread::getCurrentThreadId()) == ::GetCurrentThreadId();
        return 0;
    });
    thread.start();
    EXPECT_TRUE(until([&] { return thread.wait(-1) == nothingToWaitFor; }));
    EXPECT_TRUE(same);
}

TEST(OrvoThreadSystemTest, aKilledThreadHasExitCodeZero) {
    for (const bool byMark : {false, true}) {
        Counter counter;
        auto thread = std::make_unique<WorkThread>([&] { return counter.count(); });
        thread->start();
        const KeptHandle handle(*thread);
        if (byMark) {
            thread->setMarkForKill();
            thread.reset();
        } else {
            thread->kill();
        }
        EXPECT_EQ(0u, handle.exitCode());
    }
}

TEST(OrvoThreadSystemTest, aThreadThatKillsItselfHasExitCodeZero) {
    OrvoThread* self = nullptr;
    WorkThread thread([&] { return self->kill(), 7; });
    self = &thread;
    thread.start();
    EXPECT_EQ(0u, KeptHandle(thread).exitCode());
}

TEST(OrvoThreadSystemTest, aThreadThatEndsItselfByTheSystemsWayLeavesItsObjectUsable) {
    WorkThread thread([] {
        ::ExitThread(12);
        return 0;
    });
    thread.start();
    EXPECT_EQ(12u, KeptHandle(thread).exitCode());
    thread.waitForThreadExit();
    EXPECT_EQ(-1, thread.getExitCode());
}

TEST(OrvoThreadSystemTest, eachPriorityIsALevelOfTheSystem) {
    Door door;
    WorkThread thread([&] { return door.pass(); });
    thread.start();
    const struct {
        OrvoThread::t_Priority priority;
        int level;
    } cases[] = {
        {OrvoThread::PriorityAboveNormal, THREAD_PRIORITY_ABOVE_NORMAL},
        {OrvoThread::PriorityBelowNormal, THREAD_PRIORITY_BELOW_NORMAL},
        {OrvoThread::PriorityHighest, THREAD_PRIORITY_HIGHEST},
        {OrvoThread::PriorityIdle, THREAD_PRIORITY_IDLE},
        {OrvoThread::PriorityLowest, THREAD_PRIORITY_LOWEST},
        {OrvoThread::PriorityNormal, THREAD_PRIORITY_NORMAL},
        {OrvoThread::PriorityTimeCritical, THREAD_PRIORITY_TIME_CRITICAL},
        {static_cast<OrvoThread::t_Priority>(7), THREAD_PRIORITY_NORMAL},
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(thread.setPriority(c.priority));
        EXPECT_EQ(c.level, ::GetThreadPriority(handleOf(thread)));
    }
    door.open();
}

TEST(OrvoThreadSystemTest, stopsAreTheSystemsSuspensions) {
    Counter counter;
    WorkThread thread([&] { return counter.count(); });
    thread.setMarkForKill();
    thread.start();
    ASSERT_TRUE(counter.runs());
    thread.stop();
    thread.stop();
    EXPECT_EQ(2u, ::SuspendThread(handleOf(thread)));
    EXPECT_EQ(3u, ::ResumeThread(handleOf(thread)));
    thread.start();
    thread.start();
    EXPECT_EQ(0u, ::SuspendThread(handleOf(thread)));
    EXPECT_EQ(1u, ::ResumeThread(handleOf(thread)));
}

// They compute, sleep, wait or allocate; meanwhile this thread and another one allocate too.
TEST(OrvoThreadSystemTest, theProcessGoesOnAfterAThousandKills) {
    std::atomic<bool> more{true};
    std::atomic<long> rounds{0};
    std::thread other([&] {
        for (; more; ++rounds) {
            delete[] new char[50];
            if (rounds % 1000 == 0) ::Sleep(1);
        }
    });
    const HANDLE never = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
    std::atomic<bool> entered{false};
    Counter counter;
    const Work deeds[] = {
        [&] { return entered = true, counter.count(); },
        [&] {
            for (entered = true;;) ::Sleep(1);
            return 0;
        },
        [&] {
            for (entered = true;;) ::WaitForSingleObject(never, 1000);
            return 0;
        },
        [&] {
            for (entered = true;;) delete[] new char[50];
            return 0;
        },
        [&] {
            for (entered = true;;) ::HeapFree(::GetProcessHeap(), 0, ::HeapAlloc(::GetProcessHeap(), 0, 40));
            return 0;
        },
    };
    Resources before;
    const ULONGLONG limit = ::GetTickCount64() + 15000;  // on a machine that is busy otherwise
    for (int i = 0; i < 1000 && (i <= 100 || ::GetTickCount64() < limit); ++i) {
        if (i == 100) before = resourcesInUse();
        entered = false;
        // The last one is hardly ever seen outside the system's heap, which takes its time.
        WorkThread thread(deeds[i % 50 == 0 ? 4 : i % 4]);
        thread.start();
        ASSERT_TRUE(thread.isAlive());
        if (i % 3) {
            EXPECT_TRUE(until([&] { return entered.load(); }));
        }
        thread.kill();
        delete[] new char[50];
    }
    const long roundsThen = rounds;
    EXPECT_TRUE(until([&] { return rounds > roundsThen + 1000; }));
    more = false;
    other.join();
    ::CloseHandle(never);
    const Resources after = resourcesOnceThreadsHaveEnded(before.threads);
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.handles, before.handles + 4);
}

TEST(OrvoThreadSystemTest, nothingIsLeftOfThreadsThatCameAndWent) {
    const auto use = [] {
        OrvoThread joined;
        joined.start();
        auto* const own = new OrvoThread;
        own->setMarkForDeath();
        own->start();
    };
    const long threads = resourcesInUse().threads;
    for (int i = 0; i < 20; ++i) use();
    const Resources before = resourcesOnceThreadsHaveEnded(threads);
    for (int i = 0; i < 100; ++i) use();
    const Resources after = resourcesOnceThreadsHaveEnded(before.threads);
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.handles, before.handles + 4);
    EXPECT_LE(after.heapBytes, before.heapBytes + 4096);
}

}  // namespace
