// Work that ends its thread by way of the C library, or is ended that way: nothing of the library keeps it
// from that, and the object is as after any run.
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <array>

#include "OrvoEvent.h"
#include "OrvoThread.h"
#include "threads/posix/Worker.h"

namespace {

using namespace OrvoSupport;
using namespace testing_threads;

constexpr int generousMs = 30000;

std::atomic<int> unwound{0};

struct CountsUnwinding {
    ~CountsUnwinding() { ++unwound; }
};

void expectAsAfterARun(Worker& thread) {
    thread.wait(generousMs);
    thread.waitForThreadExit();
    EXPECT_EQ(128, thread.wait(-1));
    EXPECT_TRUE(thread.isAlive());
    std::vector<OrvoThread*> list{&thread};
    EXPECT_EQ(0, OrvoThread::wait(list, true, generousMs));
    EXPECT_TRUE(waitUntil([&] { return stateOf(thread.id()) == 0; }));
    thread.kill();
    EXPECT_FALSE(thread.isAlive());
}

TEST(OrvoThreadCancelTest, exitByTheCLibraryUnwindsAndEndsTheRun) {
    unwound = 0;
    for (int i = 1; i <= 20; ++i) {
        Worker thread([]() -> int {
            const CountsUnwinding local;
            ::pthread_exit(nullptr);
        });
        thread.start();
        expectAsAfterARun(thread);
        EXPECT_EQ(i, unwound);
    }
}

class SelfDeleting : public Worker {
public:
    SelfDeleting(std::function<int()> work, std::atomic<bool>& gone) : Worker(std::move(work)), m_gone(gone) {
        setMarkForDeath();
    }
    ~SelfDeleting() override { m_gone = true; }

private:
    std::atomic<bool>& m_gone;
};

TEST(OrvoThreadCancelTest, exitByTheCLibraryDeletesASelfDeletingThread) {
    std::atomic<bool> gone{false};
    auto* const thread = new SelfDeleting([]() -> int { ::pthread_exit(nullptr); }, gone);
    thread->start();
    EXPECT_TRUE(waitUntil([&] { return gone.load(); }));
}

/// A thread that reads from a pipe into which nobody writes.
class Reading {
public:
    Reading() : m_thread([this] { return read(); }) {
        EXPECT_EQ(0, ::pipe(m_pipe.data()));
        m_thread.start();
        EXPECT_TRUE(m_thread.hasBegun());
        EXPECT_TRUE(sleeps(m_thread.id()));
    }
    ~Reading() {
        m_thread.kill();
        ::close(m_pipe[0]);
        ::close(m_pipe[1]);
    }
    Worker& thread() { return m_thread; }
    void cancel() { EXPECT_EQ(0, ::pthread_cancel(m_self)); }

private:
    int read() {
        const CountsUnwinding local;
        m_self = ::pthread_self();
        char byte = 0;
        return static_cast<int>(::read(m_pipe[0], &byte, 1));
    }

    std::array<int, 2> m_pipe{};
    std::atomic<pthread_t> m_self{};
    Worker m_thread;
};

TEST(OrvoThreadCancelTest, cancellationEndsASleepAndTheRun) {
    unwound = 0;
    for (int i = 1; i <= 20; ++i) {
        Reading reading;
        reading.cancel();
        expectAsAfterARun(reading.thread());
        EXPECT_EQ(i, unwound);
    }
}

TEST(OrvoThreadCancelTest, cancellationOfAStoppedThreadComesWhenItGoesOn) {
    unwound = 0;
    Reading reading;
    reading.thread().stop();
    reading.cancel();
    nap();
    EXPECT_EQ(0, unwound);
    reading.thread().start();
    expectAsAfterARun(reading.thread());
    EXPECT_EQ(1, unwound);
}

TEST(OrvoThreadCancelTest, killingACancelledThreadThatStandsUnwindsNothing) {
    unwound = 0;
    {
        Reading reading;
        reading.thread().stop();
        reading.cancel();
        reading.thread().kill();
    }
    EXPECT_EQ(0, unwound);
}

TEST(OrvoThreadCancelTest, aThreadWithoutCancellationIsEndedAllTheSame) {
    Worker thread([]() -> int {
        ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
        for (;;) ::pause();
    });
    thread.start();
    ASSERT_TRUE(thread.hasBegun());
    thread.kill();
    EXPECT_FALSE(thread.isAlive());
}

TEST(OrvoThreadCancelTest, cancellationLeavesAnEventsWaitersInOrder) {
    OrvoEvent event;
    for (int i = 0; i < 20; ++i) {
        std::atomic<pthread_t> self{};
        Worker thread([&] {
            self = ::pthread_self();
            const int result = event.wait(20);
            ::pthread_testcancel();
            return result;
        });
        thread.start();
        ASSERT_TRUE(thread.hasBegun());
        ASSERT_TRUE(waitUntil([&] { return self != pthread_t{}; }));
        ::pthread_cancel(self);
        expectAsAfterARun(thread);
        event.set();
        EXPECT_EQ(0, event.wait(0));
    }
}

}  // namespace
