// Waiting for one thread and for several.
#include <gtest/gtest.h>

#include <deque>
#include <memory>

#include "threads/TestThreads.h"

namespace {

using namespace thread_tests;

using Threads = std::vector<OrvoThread*>;

/// Threads that work until their door is opened.
class Crowd {
public:
    explicit Crowd(std::size_t count) : m_doors(count) {
        for (Door& door : m_doors) {
            m_threads.emplace_back(std::make_unique<WorkThread>([&door] { return door.pass(); }));
            m_threads.back()->start();
            list.push_back(m_threads.back().get());
        }
    }
    ~Crowd() {
        for (Door& door : m_doors) door.open();
        for (OrvoThread* thread : list) thread->wait(generousMs);
    }
    void release(std::size_t index) { m_doors[index].open(); }
    void releaseAndJoin(std::size_t index) {
        release(index);
        EXPECT_TRUE(until([&] { return m_threads[index]->wait(-1) == nothingToWaitFor; }));
        Threads one = {list[index]};
        EXPECT_EQ(0, OrvoThread::wait(one, true, generousMs));
    }

    Threads list;

private:
    std::deque<Door> m_doors;
    std::vector<std::unique_ptr<WorkThread>> m_threads;
};

TEST(OrvoThreadWaitTest, timesOutWhileTheThreadWorks) {
    Crowd crowd(1);
    EXPECT_EQ(timedOut, crowd.list[0]->wait(0));
    EXPECT_EQ(timedOut, crowd.list[0]->wait(1));
}

TEST(OrvoThreadWaitTest, returnsWhenTheThreadEnds) {
    for (const int timeout : {-1, generousMs}) {
        Crowd crowd(1);
        std::thread opener([&] {
            letOthersRun();
            crowd.release(0);
        });
        const int result = crowd.list[0]->wait(timeout);
        EXPECT_TRUE(result == ended || result == nothingToWaitFor) << result;
        EXPECT_EQ(nothingToWaitFor, crowd.list[0]->wait(timeout));
        EXPECT_EQ(0, crowd.list[0]->getExitCode());
        opener.join();
    }
}

TEST(OrvoThreadWaitTest, aThreadThatHasDoneItsWorkIsNothingToWaitFor) {
    OrvoThread thread;
    thread.start();
    thread.wait(generousMs);
    EXPECT_EQ(nothingToWaitFor, thread.wait(-1));
    EXPECT_EQ(nothingToWaitFor, thread.wait(0));
    EXPECT_EQ(nothingToWaitFor, thread.wait(5));
}

TEST(OrvoThreadWaitTest, allAreWaitedFor) {
    Crowd crowd(3);
    EXPECT_EQ(severalTimedOut, OrvoThread::wait(crowd.list, true, 0));
    crowd.releaseAndJoin(0);
    crowd.releaseAndJoin(2);
    EXPECT_EQ(severalTimedOut, OrvoThread::wait(crowd.list, true, 10));
    crowd.release(1);
    EXPECT_EQ(0, OrvoThread::wait(crowd.list, true, -1));
    EXPECT_EQ(0, OrvoThread::wait(crowd.list, true, 0));
}

TEST(OrvoThreadWaitTest, anyAnswersTheFirstThatHasEnded) {
    Crowd crowd(4);
    EXPECT_EQ(severalTimedOut, OrvoThread::wait(crowd.list, false, 0));
    EXPECT_EQ(severalTimedOut, OrvoThread::wait(crowd.list, false, 5));
    crowd.releaseAndJoin(2);
    EXPECT_EQ(2, OrvoThread::wait(crowd.list, false, -1));
    EXPECT_EQ(2, OrvoThread::wait(crowd.list, false, 0));
    crowd.releaseAndJoin(3);
    EXPECT_EQ(2, OrvoThread::wait(crowd.list, false, 0));
    crowd.releaseAndJoin(1);
    EXPECT_EQ(1, OrvoThread::wait(crowd.list, false, 0));
}

TEST(OrvoThreadWaitTest, aWaitForAnyWakesWhenOneEnds) {
    Crowd crowd(3);
    std::thread opener([&] {
        letOthersRun();
        crowd.release(1);
    });
    EXPECT_EQ(1, OrvoThread::wait(crowd.list, false, -1));
    opener.join();
}

TEST(OrvoThreadWaitTest, severalWaitForTheSameThread) {
    Crowd crowd(2);
    std::atomic<int> sum{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 4; ++i)
        waiters.emplace_back([&] { sum += OrvoThread::wait(crowd.list, false, generousMs); });
    letOthersRun();
    crowd.release(1);
    for (std::thread& waiter : waiters) waiter.join();
    EXPECT_EQ(4, sum);
}

TEST(OrvoThreadWaitTest, anEmptyListFails) {
    Threads none;
    EXPECT_EQ(failed, OrvoThread::wait(none, true, 0));
    EXPECT_EQ(failed, OrvoThread::wait(none, false, -1));
    OrvoThread thread;
    EXPECT_EQ(failed, OrvoThread::wait(0, &thread, true, 0));
    EXPECT_EQ(failed, OrvoThread::wait(0, nullptr, false, 0));
    EXPECT_EQ(failed, OrvoThread::wait(-1, &thread, true, 0));
}

TEST(OrvoThreadWaitTest, upToSixtyFourThreadsAreWaitedFor) {
    Crowd crowd(64);
    EXPECT_EQ(severalTimedOut, OrvoThread::wait(crowd.list, true, 0));
    for (std::size_t i = 0; i < 64; ++i) crowd.release(i);
    EXPECT_EQ(0, OrvoThread::wait(crowd.list, true, generousMs));
    EXPECT_EQ(0, OrvoThread::wait(crowd.list, false, 0));
    crowd.list.push_back(crowd.list[0]);
    EXPECT_EQ(failed, OrvoThread::wait(crowd.list, false, 0));
    EXPECT_EQ(failed, OrvoThread::wait(crowd.list, true, 0));
    const std::unique_ptr<OrvoThread[]> many(new OrvoThread[65]);
    for (int i = 0; i < 65; ++i) many[static_cast<std::size_t>(i)].start();
    EXPECT_EQ(failed, OrvoThread::wait(65, many.get(), false, 0));
    EXPECT_EQ(failed, OrvoThread::wait(2147483647, many.get(), false, 0));
}

TEST(OrvoThreadWaitTest, aThreadThatWasNeverStartedFailsTheWait) {
    OrvoThread fresh;
    Crowd crowd(1);
    crowd.list.push_back(&fresh);
    EXPECT_EQ(failed, OrvoThread::wait(crowd.list, true, 0));
    EXPECT_EQ(failed, OrvoThread::wait(crowd.list, false, -1));
    Threads none = {crowd.list[0], nullptr};
    EXPECT_EQ(failed, OrvoThread::wait(none, false, -1));
}

TEST(OrvoThreadWaitTest, oneTwiceIsTooMuchForAllButNotForAny) {
    Crowd crowd(2);
    crowd.list.push_back(crowd.list[0]);
    EXPECT_EQ(failed, OrvoThread::wait(crowd.list, true, 0));
    EXPECT_EQ(severalTimedOut, OrvoThread::wait(crowd.list, false, 0));
    crowd.releaseAndJoin(0);
    EXPECT_EQ(0, OrvoThread::wait(crowd.list, false, 0));
}

TEST(OrvoThreadWaitTest, theCountFormTakesAnArrayOfThreads) {
    Door door;
    OrvoThread threads[3] = {
        OrvoThread(OrvoSmartPointer<OrvoThread::OrvoRunnable>(new WorkRunnable([&] { return door.pass(); }))),
        OrvoThread(), OrvoThread()};
    for (OrvoThread& thread : threads) thread.start();
    EXPECT_EQ(severalTimedOut, OrvoThread::wait(3, threads, true, 5));
    EXPECT_EQ(0, OrvoThread::wait(2, threads + 1, true, generousMs));
    EXPECT_EQ(1, OrvoThread::wait(3, threads, false, 0));
    door.open();
    EXPECT_EQ(0, OrvoThread::wait(3, threads, true, -1));
    EXPECT_EQ(0, OrvoThread::wait(3, threads, false, 0));
}

TEST(OrvoThreadWaitTest, aThreadMayWaitForOthers) {
    Crowd crowd(2);
    std::atomic<int> all{-1};
    WorkThread waiter([&] { return all = OrvoThread::wait(crowd.list, true, generousMs), 0; });
    waiter.start();
    crowd.release(0);
    crowd.release(1);
    EXPECT_TRUE(until([&] { return waiter.wait(-1) == nothingToWaitFor; }));
    EXPECT_EQ(0, all);
}

}  // namespace
