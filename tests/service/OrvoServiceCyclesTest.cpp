// Services started and stopped over and over, stopped at any moment and from everywhere at once.
#include <atomic>

#include "service/ServiceFixture.h"
#include "support/Plugin.h"

namespace {

using namespace service_testing;
using testing_support::resourcesInUse;
using testing_support::resourcesOnceThreadsHaveEnded;

constexpr int cycles = 1000;
constexpr int fewerCycles = 200;

class OrvoServiceCyclesTest : public testing::Test {
protected:
    OrvoServiceCyclesTest() {
        renewFake();
        std::thread([] {}).join();  // some checkers start a thread of their own with the first
        m_threads = resourcesInUse().threads;
    }
    void TearDown() override {
        EXPECT_TRUE(fake().settled());
        EXPECT_LE(resourcesOnceThreadsHaveEnded(m_threads).threads, m_threads);
    }

    long m_threads;
};

TEST_F(OrvoServiceCyclesTest, oneObjectManyTimes) {
    Host host("name", "svc", "A service", "", false);
    fake().controlsWhenRunning = {platform::controlStop};
    for (int i = 0; i < cycles; ++i) ASSERT_TRUE(host.start("", true));
    EXPECT_EQ(cycles, host.starts);
    EXPECT_EQ(cycles, host.stops);
    EXPECT_EQ(5u * cycles, fake().reports.size());
    EXPECT_EQ(3 * cycles, fake().threadsCreated);
}

TEST_F(OrvoServiceCyclesTest, aNewObjectEachTimeGoneAsSoonAsItHasStopped) {
    fake().controlsWhenRunning = {platform::controlStop, platform::controlStop};
    for (int i = 0; i < fewerCycles; ++i) {
        Host host("name", "svc", "A service", "", false);
        if (i % 3 == 1) host.onStart = [] { return false; };
        if (i % 3 == 2) host.onStart = [&host] { return host.stop(); };
        ASSERT_TRUE(host.start("", true));
        ASSERT_EQ(i % 3 == 1 ? 0 : 1, host.stops);
    }
}

TEST_F(OrvoServiceCyclesTest, stoppedAtAnyMomentFromEverywhere) {
    Host host("name", "svc", "A service", "", false);
    std::atomic<bool> done{false};
    const auto stopAllTheTime = [&] {
        while (!done) {
            host.stop();
            std::this_thread::yield();
        }
    };
    std::thread first(stopAllTheTime);
    std::thread second(stopAllTheTime);
    for (int i = 0; i < fewerCycles; ++i) ASSERT_TRUE(host.start("", i % 2 == 0));
    done = true;
    first.join();
    second.join();
    EXPECT_EQ(fewerCycles, host.starts);
    EXPECT_EQ(fewerCycles, host.stops);
}

TEST_F(OrvoServiceCyclesTest, askedAllTheTimeItNeverGoesBackToStarting) {
    Host host("name", "svc", "A service", "", false);
    for (int i = 0; i < fewerCycles; ++i) {
        std::thread asker([] {
            for (int n = 0; n < 3; ++n) fake().post(interrogate);
            fake().post(platform::controlStop);
        });
        ASSERT_TRUE(host.start("", true));
        asker.join();
        const auto states = fake().reportedStates();
        ASSERT_EQ(stopped, states.back());
        const auto started = std::find(states.begin(), states.end(), running);
        ASSERT_EQ(0, std::count(started, states.end(), startPending));
        renewFake();
    }
}

TEST_F(OrvoServiceCyclesTest, inAConsole) {
    Host host("name", "svc", "A service", "", false);
    host.onStart = [&] { return host.stop(); };
    for (int i = 0; i < cycles; ++i) ASSERT_TRUE(host.start("", false));
    EXPECT_EQ(cycles, host.stops);
    EXPECT_EQ(cycles, fake().consoleHandlersSet);
}

}  // namespace
