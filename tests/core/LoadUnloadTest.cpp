// The library comes and goes with its host, any number of times, and leaves nothing behind.
#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "support/Plugin.h"

namespace {

using testing_support::isLoaded;
using testing_support::Plugin;
using testing_support::Resources;
using testing_support::resourcesInUse;
using testing_support::resourcesOnceThreadsHaveEnded;

/// A thread that outlives the library: it does what it is told, and ends when it is destroyed.
class LongLivedThread {
public:
    LongLivedThread() : m_thread([this] { work(); }) {}
    ~LongLivedThread() {
        run({});
        m_thread.join();
    }

    /// Waits until the thread has done it; an empty function ends the thread.
    void run(std::function<void()> task) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_task = std::move(task);
        m_pending = true;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return !m_pending; });
    }

private:
    void work() {
        std::unique_lock<std::mutex> lock(m_mutex);
        for (bool more = true; more;) {
            m_changed.wait(lock, [this] { return m_pending; });
            more = static_cast<bool>(m_task);
            if (more) m_task();
            m_pending = false;
            m_changed.notify_all();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::function<void()> m_task;
    bool m_pending = false;
    std::thread m_thread;
};

void useOnce(LongLivedThread& longLived, bool ownThread) {
    const Plugin host("LockUser");
    ASSERT_TRUE(host.loaded());
    ASSERT_TRUE(isLoaded("osupt"));
    auto* const useLocks = host.function<int()>("useLocks");
    auto* const useFactory = host.function<int()>("useFactory");
    ASSERT_TRUE(useLocks && useFactory);
    int failures = useLocks() + useFactory();
    longLived.run([&] { failures += useLocks(); });
    if (ownThread) std::thread([&] { failures += useLocks(); }).join();
    EXPECT_EQ(0, failures);
}

TEST(LoadUnloadTest, loadsAndUnloadsAThousandTimesWithoutLeaving) {
    LongLivedThread longLived;
    const int warmUp = 50;
    Resources before;
    for (int i = 0; i < 1000; ++i) {
        if (i == warmUp) before = resourcesInUse();
        useOnce(longLived, i % 10 == 0);
        if (HasFatalFailure()) return;
        ASSERT_FALSE(isLoaded("osupt")) << "after load " << i;
    }
    const Resources after = resourcesOnceThreadsHaveEnded(before.threads);
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.handles, before.handles + 4);
    EXPECT_LE(after.mappings, before.mappings + 64);            // sanitizers keep books of their own
    EXPECT_LE(after.kilobytes, before.kilobytes + 128 * 1024);  // and hold freed memory back
    EXPECT_LE(after.heapBytes, before.heapBytes + 32 * 1024);
}

/// Loads and unloads a host that does this, again and again, and says what is in use before and after.
template <class Use>
void comeAndGo(Use use, Resources& before, Resources& after) {
    const int warmUp = 5;
    for (int i = 0; i < 50; ++i) {
        if (i == warmUp) before = resourcesInUse();
        {
            const Plugin host("LockUser");
            ASSERT_TRUE(host.loaded());
            use(host);
        }
        ASSERT_FALSE(isLoaded("osupt")) << "after load " << i;
    }
    after = resourcesOnceThreadsHaveEnded(before.threads);
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.handles, before.handles + 4);
}

TEST(LoadUnloadTest, takesItsThreadsAlongThatALoggerHasStarted) {
    Resources before, after;
    comeAndGo([](const Plugin& host) { host.function<void()>("useLogger")(); }, before, after);
}

TEST(LoadUnloadTest, takesTheThreadAlongThatServesTimers) {
    Resources before, after;
    comeAndGo([](const Plugin& host) { EXPECT_EQ(0, host.function<int()>("useTimers")()); }, before, after);
    EXPECT_LE(after.heapBytes, before.heapBytes + 32 * 1024);
}

TEST(LoadUnloadTest, threadsThatHeldLocksEndAfterTheLibraryIsGone) {
    for (int i = 0; i < 10; ++i) {
        std::vector<LongLivedThread> threads(3);
        {
            const Plugin host("LockUser");
            ASSERT_TRUE(host.loaded());
            for (LongLivedThread& thread : threads) thread.run([&] { host.function<int()>("useLocks")(); });
            threads.front().run([&] { host.function<void()>("keepLock")(); });
        }
        ASSERT_FALSE(isLoaded("osupt"));
    }
}

}  // namespace
