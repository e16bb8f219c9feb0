// Many timers, and many threads that start, stop and destroy them while they fire.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <memory>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "OrvoTimer.h"
#include "support/Plugin.h"

namespace {

using namespace OrvoSupport;
using testing_support::resourcesInUse;
using testing_support::resourcesOnceThreadsHaveEnded;

constexpr int limit = 60'000;  // milliseconds

void nap(int milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

TEST(TimerLoadTest, tenThousandTimersNeedOneThread) {
    std::thread([] {}).join();  // a sanitizer starts one of its own with the first
    const long before = resourcesInUse().threads;
    {
        std::deque<OrvoTimer> timers(10'000);
        long number = 0;
        for (OrvoTimer& timer : timers) {
            ++number;
            timer.start(60 + number % 1000, number % 777, number % 2 == 0);
        }
        EXPECT_LE(resourcesInUse().threads, before + 1);
        OrvoTimer soon(20, true);
        soon.reset();
        EXPECT_EQ(0, soon.wait(limit));
        EXPECT_LE(resourcesInUse().threads, before + 1);
    }
    EXPECT_LE(resourcesOnceThreadsHaveEnded(before).threads, before);
}

TEST(TimerLoadTest, aThousandTimersFireInOnePass) {
    std::atomic<int> fired{0};
    struct Counter : OrvoDependent {
        explicit Counter(std::atomic<int>& fired_) : fired(fired_) {}
        void handleNotification(OrvoCollaborator&, const OrvoNotification&) override { ++fired; }
        std::atomic<int>& fired;
    } counter(fired);
    std::deque<OrvoTimer> timers(1000);
    for (OrvoTimer& timer : timers) {
        timer.addDependent(counter);
        timer.start(300, true);
    }
    for (OrvoTimer& timer : timers) ASSERT_EQ(0, timer.wait(limit));
    nap(10);
    EXPECT_EQ(1000, fired);
}

/// A few timers that everybody starts and stops and whose handlers do so too.
class Playground {
public:
    Playground() {
        for (Member& member : m_members) member.playground = this;
    }
    /// Handlers find all the others: those that still run are over when another timer has fired.
    ~Playground() {
        for (Member& member : m_members) member.timer.removeDependent(member);
        OrvoTimer last;
        last.start(-1, 1, true);
        last.wait(limit);
    }

    void play(unsigned seed, std::chrono::steady_clock::time_point end) {
        std::mt19937 random(seed);
        while (std::chrono::steady_clock::now() < end) {
            std::unique_ptr<OrvoTimer> own = std::make_unique<OrvoTimer>();
            Destroyer destroyer(own);
            const bool fireHere = random() % 3 == 0;
            if (random() % 2) own->addDependent(destroyer);
            own->start(fireHere ? -1 : 0, static_cast<long>(1 + random() % 3),
                       fireHere || random() % 2 == 0);  // one of the past that repeats would never end
            for (int i = 0; i < 20; ++i) touch(static_cast<unsigned>(random()));
            // Either of the two destroys it; the lock is the host's own way to say who.
            const std::lock_guard<std::mutex> lock(destroyer.mutex);
            own.reset();
        }
    }

    long fired() const { return m_fired; }

private:
    struct Member : OrvoDependent {
        Member() { timer.addDependent(*this); }
        void handleNotification(OrvoCollaborator&, const OrvoNotification&) override {
            const long count = ++playground->m_fired;
            if (count % 3 == 0) playground->touch(static_cast<unsigned>(count));
        }
        Playground* playground = nullptr;
        OrvoTimer timer;
    };

    /// Destroys the timer when it fires, unless its owner is about to.
    struct Destroyer : OrvoDependent {
        explicit Destroyer(std::unique_ptr<OrvoTimer>& timer_) : timer(timer_) {}
        void handleNotification(OrvoCollaborator&, const OrvoNotification&) override {
            if (!mutex.try_lock()) return;
            timer.reset();
            mutex.unlock();
        }
        std::mutex mutex;
        std::unique_ptr<OrvoTimer>& timer;
    };

    void touch(unsigned number) {
        OrvoTimer& timer = m_members[number / 8 % m_members.size()].timer;
        switch (number % 8) {
            case 0: timer.stop(); break;
            case 1: timer.reset(); break;
            case 2: timer.start(-1, 1, true); break;
            case 3: timer.start(60, 0, false); break;
            case 4: timer.wait(0); break;
            default: timer.start(static_cast<long>(number % 5), number % 3 == 0);
        }
    }

    std::atomic<long> m_fired{0};
    std::deque<Member> m_members{6};
};

TEST(TimerLoadTest, eightThreadsStartStopAndDestroyWhatFires) {
    const long before = resourcesInUse().threads;
    {
        Playground playground;
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
        std::vector<std::thread> threads;
        for (unsigned i = 0; i < 8; ++i) threads.emplace_back([&, i] { playground.play(i, end); });
        for (std::thread& thread : threads) thread.join();
        EXPECT_LT(0, playground.fired());
    }
    OrvoTimer after(5, true);
    after.reset();
    EXPECT_EQ(0, after.wait(limit));
    EXPECT_LE(resourcesOnceThreadsHaveEnded(before).threads, before);
}

}  // namespace
