// A service as a console program, its constructors, and what it answers while nothing runs.
#include <OrvoException.h>

#include <cstring>
#include <new>

#include "service/ServiceFixture.h"

namespace {

using namespace service_testing;
using testing::ElementsAre;
using testing::IsEmpty;

class OrvoServiceConsoleTest : public ServiceFixture {
protected:
    /// Starts it and interrupts it, as soon as it listens, with this event.
    bool run(int event = platform::consoleInterrupt) {
        std::thread user([event] {
            std::unique_lock<std::mutex> guard(fake().lock);
            fake().changed.wait(guard, [] { return fake().console != nullptr; });
            const platform::ConsoleHandler handler = fake().console;
            guard.unlock();
            EXPECT_TRUE(handler(event));
        });
        const bool result = host.start("a b", false);
        user.join();
        return result;
    }
};

TEST_F(OrvoServiceConsoleTest, runsItsWorkOnTheThreadThatStartedIt) {
    EXPECT_TRUE(run());
    EXPECT_EQ("a b", host.arguments);
    EXPECT_EQ(1, host.starts);
    EXPECT_EQ(1, host.stops);
    EXPECT_EQ(std::this_thread::get_id(), host.startThread);
    EXPECT_EQ(std::this_thread::get_id(), host.stopThread);
    EXPECT_EQ(0, fake().threadsCreated);
    EXPECT_EQ(OrvoService::Stopped, host.state());
}

TEST_F(OrvoServiceConsoleTest, logsEveryStepAtLevelNine) {
    run();
    EXPECT_THAT(log.textsOfThreadOf("OrvoService::start: waiting for service to exit"),
                ElementsAre("OrvoService::start: waiting for service to exit",
                            "OrvoService::start: service completed.", "OrvoService::start: exiting"));
    EXPECT_THAT(log.textsOfThreadOf("OrvoService::stop: entering"),
                ElementsAre("OrvoService::stop: entering", "OrvoService::stop: exiting"));
    EXPECT_EQ(5u, log.records().size());
    for (const Record& record : log.records()) EXPECT_EQ(9, record.level) << record.text;
}

TEST_F(OrvoServiceConsoleTest, theBreakKeyStopsItToo) {
    EXPECT_TRUE(run(platform::consoleBreak));
    EXPECT_EQ(1, host.stops);
}

TEST_F(OrvoServiceConsoleTest, leavesOtherConsoleEventsToTheSystem) {
    std::thread user([this] {
        std::unique_lock<std::mutex> guard(fake().lock);
        fake().changed.wait(guard, [] { return fake().console != nullptr; });
        const platform::ConsoleHandler handler = fake().console;
        guard.unlock();
        for (const int event : {2, 5, 6, -1}) EXPECT_FALSE(handler(event));
        EXPECT_EQ(0, host.stops);
        host.stop();
    });
    host.start("", false);
    user.join();
}

TEST_F(OrvoServiceConsoleTest, itsStateIsRunningOnceItHasStartedAndStopPendingFromTheStop) {
    std::vector<OrvoService::tState> states;
    host.onStart = [&] { return states.push_back(host.state()), true; };
    host.onStop = [&] { return states.push_back(host.state()), true; };
    std::thread user([&] {
        std::unique_lock<std::mutex> guard(fake().lock);
        fake().changed.wait(guard, [] { return fake().console != nullptr; });
        guard.unlock();
        EXPECT_EQ(OrvoService::Running, host.state());
        EXPECT_TRUE(host.start("again", false));
        EXPECT_TRUE(host.start("again", true));
        host.stop();
    });
    host.start("", false);
    user.join();
    EXPECT_THAT(states, ElementsAre(OrvoService::Stopped, OrvoService::StopPending));
    EXPECT_EQ(1, host.starts);
}

TEST_F(OrvoServiceConsoleTest, aStartThatFailsIsNeitherWaitedForNorStopped) {
    host.onStart = [] { return false; };
    EXPECT_FALSE(host.start("", false));
    EXPECT_EQ(0, host.stops);
    EXPECT_EQ(0, fake().consoleHandlersSet);
    EXPECT_EQ(OrvoService::Stopped, host.state());
    EXPECT_THAT(log.texts(), ElementsAre("OrvoService::start: exiting"));
}

TEST_F(OrvoServiceConsoleTest, theResultOfStoppingDoesNotMatter) {
    host.onStop = [] { return false; };
    EXPECT_TRUE(run());
}

TEST_F(OrvoServiceConsoleTest, withoutAConsoleItWaitsForTheProgramToStopIt) {
    fake().hasConsole = false;
    std::thread program([this] {
        while (host.state() != OrvoService::Running) std::this_thread::yield();
        host.stop();
    });
    EXPECT_TRUE(host.start("", false));
    program.join();
    EXPECT_EQ(1, host.stops);
}

TEST_F(OrvoServiceConsoleTest, aSecondInterruptWhileItStopsIsHandledAndForgotten) {
    host.onStop = [] {
        EXPECT_TRUE(fake().console(platform::consoleInterrupt));
        return true;
    };
    EXPECT_TRUE(run());
    EXPECT_EQ(nullptr, fake().console);
    EXPECT_TRUE(run());
    EXPECT_EQ(2, host.starts);
    EXPECT_EQ(2, host.stops);
}

TEST_F(OrvoServiceConsoleTest, aStopBeforeTheStartTakesEffectOnceItHasStarted) {
    host.stop();
    EXPECT_TRUE(host.start("", false));
    EXPECT_EQ(1, host.starts);
    EXPECT_EQ(1, host.stops);
}

TEST_F(OrvoServiceConsoleTest, aStopFromStartItTakesEffectOnceItHasStarted) {
    host.onStart = [this] { return host.stop(); };
    EXPECT_TRUE(host.start("", false));
    EXPECT_EQ(1, host.stops);
}

TEST_F(OrvoServiceConsoleTest, exceptionsOfTheWorkReachTheCaller) {
    host.onStart = []() -> bool { throw OrvoException(5); };
    EXPECT_THROW(host.start("", false), OrvoException);
    EXPECT_EQ(OrvoService::Stopped, host.state());
    host.onStart = [this] { return host.stop(); };
    host.onStop = []() -> bool { throw OrvoException(6); };
    EXPECT_THROW(host.start("", false), OrvoException);
    EXPECT_EQ(nullptr, fake().console);
}

TEST_F(OrvoServiceConsoleTest, thereIsNobodyToReportTo) {
    host.onStart = [this] { return host.stop() && host.ReportStatusToSCMgr(running, 0, 0); };
    EXPECT_TRUE(host.ReportStatusToSCMgr(startPending, 0, 3000));
    host.start("", false);
    EXPECT_TRUE(host.ReportStatusToSCMgr(stopped, 0, 0));
    EXPECT_THAT(fake().reports, IsEmpty());
    EXPECT_EQ(0, fake().dispatches);
}

TEST_F(OrvoServiceConsoleTest, theNewestObjectGetsTheInterrupt) {
    Host newer("name", "newer", "Another", "", false);
    std::thread user([&] {
        std::unique_lock<std::mutex> guard(fake().lock);
        fake().changed.wait(guard, [] { return fake().console != nullptr; });
        const platform::ConsoleHandler handler = fake().console;
        guard.unlock();
        EXPECT_TRUE(handler(platform::consoleInterrupt));
        EXPECT_EQ(OrvoService::StopPending, newer.state());
        EXPECT_EQ(OrvoService::Running, host.state());
        host.stop();
    });
    EXPECT_TRUE(host.start("", false));
    user.join();
    EXPECT_EQ(1, host.stops);
    EXPECT_EQ(0, newer.stops);
}

TEST_F(OrvoServiceConsoleTest, eachObjectIsTheServiceFromItsConstructionOn) {
    EXPECT_EQ(&host, OrvoService::getService());
    Host none;
    EXPECT_EQ(&none, OrvoService::getService());
    EXPECT_EQ("", none.serviceName());
    EXPECT_EQ(OrvoService::Stopped, none.state());
    EXPECT_EQ(nullptr, none.getStatusHandle());
    Host* const third = new Host(true, string("a\0", 2));
    EXPECT_EQ(third, OrvoService::getService());
    EXPECT_EQ("", third->serviceName());
    delete third;
    EXPECT_EQ(third, OrvoService::getService());  // nothing clears it
    EXPECT_EQ("svc", host.serviceName());
}

TEST_F(OrvoServiceConsoleTest, keepsTheStatusHandleItIsGiven) {
    const auto handle = reinterpret_cast<SERVICE_STATUS_HANDLE>(&host);
    host.setStatusHandle(handle);
    EXPECT_EQ(handle, host.getStatusHandle());
    host.AddToMessageLog("nothing happens");
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(OrvoServiceConsoleTest, stopSetsTheEventAndSaysSo) {
    EXPECT_TRUE(host.stop());
    EXPECT_EQ(OrvoService::StopPending, host.state());
    EXPECT_EQ(0, host.getEventObject().wait(0));
    EXPECT_EQ(-2, host.getEventObject().wait(0));
    EXPECT_THAT(log.texts(), ElementsAre("OrvoService::stop: entering", "OrvoService::stop: exiting"));
}

}  // namespace
