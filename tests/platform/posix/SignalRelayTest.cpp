// Linux only: signals as messages.
#include "platform/posix/SignalRelay.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "support/Plugin.h"

using OrvoSupport::platform::SignalRelay;

namespace {

constexpr int limit = 60000;  // milliseconds

// The next signal; a relay may come back for nothing.
int next(SignalRelay& relay) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(limit);
    int signal = SignalRelay::none;
    while (signal == SignalRelay::none && std::chrono::steady_clock::now() < end) signal = relay.take(limit);
    return signal;
}

bool nothingMore(SignalRelay& relay) {
    for (int i = 0; i < 3; ++i)
        if (relay.take(0) != SignalRelay::none) return false;
    return true;
}

std::atomic<int> seenByHost{0};
void handlerOfHost(int signal) { seenByHost = signal; }

void (*actionOf(int signal))(int) {
    struct sigaction action;
    ::sigaction(signal, nullptr, &action);
    return action.sa_handler;
}

}  // namespace

TEST(SignalRelay, handsOverTheSignalsItWasOpenedFor) {
    SignalRelay relay;
    ASSERT_TRUE(relay.open({SIGTERM, SIGHUP}));
    ::raise(SIGTERM);
    EXPECT_EQ(SIGTERM, next(relay));
    ::kill(::getpid(), SIGHUP);
    EXPECT_EQ(SIGHUP, next(relay));
    EXPECT_TRUE(nothingMore(relay));
}

TEST(SignalRelay, keepsEachSignalUntilItIsTaken) {
    SignalRelay relay;
    ASSERT_TRUE(relay.open({SIGTERM, SIGHUP}));
    for (int i = 0; i < 100000; ++i) ::raise(SIGHUP);
    ::raise(SIGTERM);
    const int first = next(relay), second = next(relay);
    EXPECT_EQ(SIGTERM + SIGHUP, first + second);
    EXPECT_TRUE(nothingMore(relay));
}

TEST(SignalRelay, givesUpWhenTheTimeRunsOut) {
    SignalRelay relay;
    ASSERT_TRUE(relay.open({SIGTERM}));
    EXPECT_EQ(SignalRelay::none, relay.take(0));
    EXPECT_EQ(SignalRelay::none, relay.take(5));
}

TEST(SignalRelay, comesBackWhenSomebodyWakesIt) {
    SignalRelay relay;
    ASSERT_TRUE(relay.open({SIGTERM}));
    std::thread waker([&] { relay.wake(); });
    EXPECT_EQ(SignalRelay::none, relay.take(-1));
    waker.join();
}

TEST(SignalRelay, isAloneInAProcess) {
    SignalRelay first, second;
    ASSERT_TRUE(first.open({SIGTERM}));
    EXPECT_FALSE(second.open({SIGHUP}));
    EXPECT_FALSE(first.open({SIGHUP}));
    ::raise(SIGTERM);
    EXPECT_EQ(SIGTERM, next(first));
    first.close();
    EXPECT_TRUE(second.open({SIGHUP}));
}

TEST(SignalRelay, leavesTheSignalsAsTheyWereBefore) {
    ::signal(SIGHUP, handlerOfHost);
    ::signal(SIGQUIT, SIG_IGN);
    {
        SignalRelay relay;
        ASSERT_TRUE(relay.open({SIGHUP, SIGQUIT}));
        ::raise(SIGQUIT);
        EXPECT_EQ(SIGQUIT, next(relay));
    }
    EXPECT_EQ(handlerOfHost, actionOf(SIGHUP));
    EXPECT_EQ(SIG_IGN, actionOf(SIGQUIT));
    ::raise(SIGHUP);
    EXPECT_EQ(SIGHUP, seenByHost.exchange(0));
    ::signal(SIGHUP, SIG_DFL);
    ::signal(SIGQUIT, SIG_DFL);
}

TEST(SignalRelay, leavesErrnoAlone) {
    SignalRelay relay;
    ASSERT_TRUE(relay.open({SIGHUP}));
    errno = ENOTTY;
    ::raise(SIGHUP);
    EXPECT_EQ(ENOTTY, errno);
}

TEST(SignalRelay, receivesWhereTheHostBlocksEverything) {
    sigset_t all, before, after;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    {
        SignalRelay relay;
        ASSERT_TRUE(relay.open({SIGTERM}));
        ::raise(SIGTERM);
        EXPECT_TRUE(nothingMore(relay));
        {
            const SignalRelay::Reception reception(relay);
            EXPECT_EQ(SIGTERM, next(relay));
        }
        ::pthread_sigmask(SIG_SETMASK, nullptr, &after);
        EXPECT_TRUE(::sigismember(&after, SIGTERM)) << "blocked again";
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

// A host may fork and end what it forked with the very signal that means a stop to itself.
TEST(SignalRelay, knowsNothingOfSignalsToACopyOfTheProcess) {
    SignalRelay relay;
    ASSERT_TRUE(relay.open({SIGTERM}));
    const pid_t child = ::fork();
    if (child == 0)
        for (;;) ::pause();
    ::kill(child, SIGTERM);
    int status = 0;
    ASSERT_EQ(child, ::waitpid(child, &status, 0));
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
    EXPECT_TRUE(nothingMore(relay));
}

TEST(SignalRelay, leavesNoDescriptorBehindUnderFireFromAnotherThread) {
    ::signal(SIGHUP, SIG_IGN);
    const long before = testing_support::resourcesInUse().handles;
    std::atomic<bool> done{false};
    std::thread fire([&] {
        while (!done) ::kill(::getpid(), SIGHUP);
    });
    for (int i = 0; i < 2000; ++i) {
        SignalRelay relay;
        ASSERT_TRUE(relay.open({SIGHUP}));
        relay.take(0);
    }
    done = true;
    fire.join();
    EXPECT_EQ(before, testing_support::resourcesInUse().handles);
    ::signal(SIGHUP, SIG_DFL);
}
