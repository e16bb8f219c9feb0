// Linux only: the dispatcher without a service, over threads of the test's own.
#include "platform/ServiceControl.h"

#include <gmock/gmock.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/Thread.h"
#include "platform/posix/Descriptor.h"
#include "support/Plugin.h"
#include "support/TempFolder.h"

using namespace OrvoSupport::platform;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing_support::resourcesInUse;
using testing_support::TempFolder;

namespace {

struct StandIn : Thread {
    std::thread thread;
};

bool threadsAreOut = false;

}  // namespace

namespace OrvoSupport::platform {

bool startThread(ThreadBody body, void* argument, std::atomic<Thread*>& place) noexcept {
    if (threadsAreOut) return false;
    auto* const thread = new StandIn;
    thread->handle = reinterpret_cast<WaitHandle>(thread);
    place = thread;
    thread->thread = std::thread(body, argument);
    return true;
}

int waitForOne(WaitHandle handle, int) noexcept {
    reinterpret_cast<StandIn*>(handle)->thread.join();
    return 0;
}

void closeThread(Thread* thread) noexcept { delete static_cast<StandIn*>(thread); }

}  // namespace OrvoSupport::platform

namespace {

// What a run does; the dispatcher takes plain functions.
struct Script {
    std::function<void(const std::vector<std::string>&)> main;
    std::function<void(std::uint32_t)> control;
    std::atomic<bool> alive{true};
    std::atomic<int> asked{0};  // whether it is alive
};
Script* theScript = nullptr;

void mainOfScript(std::uint32_t argc, char** argv) {
    theScript->main(std::vector<std::string>(argv, argv + argc));
}
void controlOfScript(std::uint32_t control) { theScript->control(control); }
bool isAlive() {
    ++theScript->asked;
    return theScript->alive;
}

class ServiceDispatcher : public testing::Test {
protected:
    ServiceDispatcher() : m_socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        const std::string name = m_folder.file("notify");
        name.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(0, ::bind(m_socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address));
        ::setenv("NOTIFY_SOCKET", name.c_str(), 1);
        theScript = &script;
        threadsAreOut = false;
        script.control = [](std::uint32_t) {};
    }
    ~ServiceDispatcher() override {
        ::unsetenv("NOTIFY_SOCKET");
        ::unsetenv("WATCHDOG_USEC");
    }

    bool run() { return runServiceDispatcher("svc", mainOfScript, isAlive); }
    void* registerHandler() { return registerControlHandler("svc", controlOfScript); }
    static bool report(void* handle, std::uint32_t state, std::uint32_t checkPoint = 0,
                       std::uint32_t hint = 0) {
        return reportServiceStatus(handle, {ownProcess, state, 0, 0, 0, checkPoint, hint});
    }
    // What came so far.
    std::vector<std::string> messages() {
        std::vector<std::string> all;
        char buffer[1000];
        for (ssize_t size; (size = ::recv(m_socket.get(), buffer, sizeof buffer, 0)) >= 0;)
            all.emplace_back(buffer, static_cast<std::size_t>(size));
        return all;
    }
    // Collects messages for a while; the socket's queue is short.
    std::vector<std::string> messagesFor(std::chrono::milliseconds time) {
        std::vector<std::string> all;
        for (const auto end = std::chrono::steady_clock::now() + time;
             std::chrono::steady_clock::now() < end;) {
            for (const std::string& message : messages()) all.push_back(message);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return all;
    }

    Script script;

private:
    TempFolder m_folder;
    const Descriptor m_socket;
};

}  // namespace

TEST_F(ServiceDispatcher, turnsReportsIntoMessages) {
    script.main = [&](const std::vector<std::string>& argv) {
        EXPECT_THAT(argv, ElementsAre("svc"));
        void* const handle = registerHandler();
        ASSERT_NE(nullptr, handle);
        EXPECT_TRUE(report(handle, 2, 7, 3000));
        EXPECT_TRUE(report(handle, 2, 8));
        EXPECT_TRUE(report(handle, 4));
        EXPECT_TRUE(report(handle, 3, 9, 0xFFFFFFFF));
        EXPECT_TRUE(report(handle, 1));
        EXPECT_FALSE(report(handle, 1)) << "that was the last";
    };
    EXPECT_TRUE(run());
    EXPECT_THAT(messages(),
                ElementsAre("EXTEND_TIMEOUT_USEC=3000000\nSTATUS=Starting, check point 7",
                            "STATUS=Starting, check point 8", "READY=1\nSTATUS=Running",
                            "STOPPING=1\nEXTEND_TIMEOUT_USEC=4294967295000\nSTATUS=Stopping, check point 9",
                            "STATUS=Stopped"));
}

TEST_F(ServiceDispatcher, returnsWhenMainHasNotEvenRegistered) {
    script.main = [](const std::vector<std::string>&) {};
    EXPECT_TRUE(run());
    EXPECT_THAT(messages(), ElementsAre());
}

TEST_F(ServiceDispatcher, takesReportsOnlyWhileItRunsAndOnlyForItsHandle) {
    EXPECT_EQ(nullptr, registerHandler());
    void* handle = nullptr;
    script.main = [&](const std::vector<std::string>&) {
        handle = registerHandler();
        EXPECT_FALSE(report(nullptr, 4));
        EXPECT_FALSE(report(&handle, 4));
        report(handle, 1);
    };
    EXPECT_TRUE(run());
    EXPECT_FALSE(report(handle, 4));
    EXPECT_EQ(nullptr, registerHandler());
    EXPECT_THAT(messages(), ElementsAre("STATUS=Stopped"));
}

TEST_F(ServiceDispatcher, keepsAStopUntilSomebodyHandlesItThereAndOnItsOwnThread) {
    const auto dispatcher = std::this_thread::get_id();
    std::vector<std::uint32_t> controls;
    std::atomic<void*> handle{nullptr};
    script.control = [&](std::uint32_t control) {
        EXPECT_EQ(dispatcher, std::this_thread::get_id());
        controls.push_back(control);
        while (!handle) std::this_thread::yield();
        report(handle, 1);
    };
    script.main = [&](const std::vector<std::string>&) {
        ::kill(::getpid(), SIGTERM);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        handle = registerHandler();
    };
    EXPECT_TRUE(run());
    EXPECT_THAT(controls, ElementsAre(controlStop));
}

TEST_F(ServiceDispatcher, runsOnceAtATimeAndAgainAfterThat) {
    for (int i = 0; i < 3; ++i) {
        bool nested = true;
        script.main = [&](const std::vector<std::string>&) {
            void* const handle = registerHandler();
            nested = run();
            EXPECT_TRUE(report(handle, 1));
        };
        EXPECT_TRUE(run());
        EXPECT_FALSE(nested);
        EXPECT_THAT(messages(), ElementsAre("STATUS=Stopped"));
    }
}

TEST_F(ServiceDispatcher, leavesNothingBehind) {
    ::signal(SIGHUP, SIG_IGN);
    script.main = [&](const std::vector<std::string>&) { report(registerHandler(), 1); };
    run();
    messages();
    const long descriptors = resourcesInUse().handles;
    for (int i = 0; i < 1000; ++i) {
        EXPECT_TRUE(run());
        messages();
    }
    EXPECT_EQ(descriptors, resourcesInUse().handles);
    struct sigaction hangUp, end;
    ::sigaction(SIGHUP, nullptr, &hangUp);
    ::sigaction(SIGTERM, nullptr, &end);
    EXPECT_EQ(SIG_IGN, hangUp.sa_handler);
    EXPECT_EQ(SIG_DFL, end.sa_handler);
    ::signal(SIGHUP, SIG_DFL);
}

TEST_F(ServiceDispatcher, returnsAtOnceWhenThereIsNoThread) {
    threadsAreOut = true;
    script.main = [](const std::vector<std::string>&) { FAIL(); };
    EXPECT_FALSE(run());
    threadsAreOut = false;
    script.main = [&](const std::vector<std::string>&) { report(registerHandler(), 1); };
    EXPECT_TRUE(run()) << "once there is one";
}

TEST_F(ServiceDispatcher, answersTheWatchdogAsLongAsTheServiceIsAlive) {
    ::setenv("WATCHDOG_USEC", "100000", 1);
    const std::string sign = "WATCHDOG=1";
    const auto comes = [&] {
        for (int i = 0; i < 20000; ++i) {
            for (const std::string& message : messages())
                if (message == sign) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    };
    script.main = [&](const std::vector<std::string>&) {
        void* const handle = registerHandler();
        EXPECT_TRUE(comes());
        script.alive = false;
        // Who asks again has sent what it was about to send.
        for (const int asked = script.asked; script.asked < asked + 2;)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        messages();
        EXPECT_THAT(messagesFor(std::chrono::milliseconds(300)), Not(Contains(sign)));
        script.alive = true;
        EXPECT_TRUE(comes());
        script.alive = false;  // so that the queue cannot fill up while nobody reads
        report(handle, 1);
    };
    EXPECT_TRUE(run());
}

TEST_F(ServiceDispatcher, goesOnWhileReportsAndControlsCross) {
    std::atomic<void*> handle{nullptr};
    std::atomic<int> asked{0};
    script.control = [&](std::uint32_t) {
        ++asked;
        report(handle, 4);
    };
    script.main = [&](const std::vector<std::string>&) {
        handle = registerHandler();
        std::atomic<bool> done{false};
        std::thread reader([&] {
            while (!done) messages();
        });
        for (int i = 0; i < 500; ++i) {
            ::kill(::getpid(), SIGHUP);
            report(handle, 4);
        }
        while (asked == 0) std::this_thread::yield();
        report(handle, 1);
        done = true;
        reader.join();
    };
    EXPECT_TRUE(run());
}
