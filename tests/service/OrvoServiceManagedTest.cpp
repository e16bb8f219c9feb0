// A service from its start by a control manager to its end: what is reported, in which order, on which
// threads.
#include "service/ServiceFixture.h"
#include "support/ChildProcess.h"

namespace {

using namespace service_testing;
using testing::ElementsAre;
using testing::ElementsAreArray;
using States = std::vector<std::uint32_t>;

class OrvoServiceManagedTest : public ServiceFixture {
protected:
    /// Starts the service and stops it as soon as it runs.
    bool run() {
        fake().controlsWhenRunning = {platform::controlStop};
        return host.start("of the caller", true);
    }
};

TEST_F(OrvoServiceManagedTest, goesFromStartPendingThroughRunningToStopped) {
    EXPECT_TRUE(run());
    EXPECT_EQ(States({startPending, startPending, running, stopPending, stopped}), fake().reportedStates());
    EXPECT_EQ(1, host.starts);
    EXPECT_EQ(1, host.stops);
    EXPECT_EQ(OrvoService::Stopped, host.state());
}

TEST_F(OrvoServiceManagedTest, reportsEveryFieldOfTheRecord) {
    run();
    const std::uint32_t first = fake().reports.at(0).checkPoint;
    struct Case {
        std::uint32_t state, accepted, checkPoint, waitHint;
    };
    const Case cases[] = {{startPending, 0, first, 3000},
                          {startPending, 0, first + 1, 3000},
                          {running, 1, 0, 0},
                          {stopPending, 1, first + 2, 3000},
                          {stopped, 1, 0, 0}};
    ASSERT_EQ(std::size(cases), fake().reports.size());
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        const platform::ServiceStatus& report = fake().reports[i];
        EXPECT_EQ(16u, report.serviceType);
        EXPECT_EQ(cases[i].state, report.currentState);
        EXPECT_EQ(cases[i].accepted, report.controlsAccepted);
        EXPECT_EQ(0u, report.win32ExitCode);
        EXPECT_EQ(0u, report.serviceSpecificExitCode);
        EXPECT_EQ(cases[i].checkPoint, report.checkPoint);
        EXPECT_EQ(cases[i].waitHint, report.waitHint);
        EXPECT_EQ(&fake(), fake().reportHandles[i]);
    }
    EXPECT_EQ(reinterpret_cast<SERVICE_STATUS_HANDLE>(&fake()), host.getStatusHandle());
}

TEST_F(OrvoServiceManagedTest, registersUnderTheServiceName) {
    run();
    EXPECT_EQ("svc", fake().dispatchedName);
    EXPECT_EQ("svc", fake().registeredName);
}

TEST_F(OrvoServiceManagedTest, joinsTheArgumentsOfTheManagerEachFollowedByABlank) {
    struct Case {
        std::vector<std::string> argv;
        std::string expected;
    };
    const Case cases[] = {
        {{"svc", "a", "b"}, "a b "}, {{"svc"}, ""}, {{}, ""}, {{"svc", "", "x y"}, " x y "}};
    for (const Case& c : cases) {
        renewFake();
        fake().arguments = c.argv;
        run();
        EXPECT_EQ(c.expected, host.arguments);
    }
}

TEST_F(OrvoServiceManagedTest, showsACheckPointForEverySecondOfASlowStartAndASlowStop) {
    host.onStart = host.onStop = [] {
        for (int second = 0; second < 5; ++second) fake().passSecond();
        return true;
    };
    run();
    std::vector<std::uint32_t> points;
    for (const platform::ServiceStatus& report : fake().reports)
        if (report.checkPoint) points.push_back(report.checkPoint);
    States states(7, startPending);
    states.push_back(running);
    states.insert(states.end(), 6, stopPending);
    states.push_back(stopped);
    EXPECT_EQ(states, fake().reportedStates());
    ASSERT_EQ(13u, points.size());
    for (std::size_t i = 1; i < points.size(); ++i) EXPECT_EQ(points[0] + i, points[i]);
}

TEST_F(OrvoServiceManagedTest, runsItsWorkOnThreadsOfTheirOwn) {
    run();
    EXPECT_NE(std::this_thread::get_id(), host.startThread);
    EXPECT_NE(std::this_thread::get_id(), host.stopThread);
    EXPECT_EQ(3, fake().threadsCreated);
}

TEST_F(OrvoServiceManagedTest, itsStateIsRunningFromTheDispatcherOnAndStopPendingFromTheStop) {
    std::vector<OrvoService::tState> states{host.state()};
    host.onStart = [&] { return states.push_back(host.state()), true; };
    host.onStop = [&] { return states.push_back(host.state()), true; };
    run();
    states.push_back(host.state());
    EXPECT_THAT(states, ElementsAre(OrvoService::Stopped, OrvoService::Running, OrvoService::StopPending,
                                    OrvoService::Stopped));
}

TEST_F(OrvoServiceManagedTest, logsEveryStepOfEachThreadInOrderAtLevelNine) {
    run();
    const std::string report = "OrvoService::ReportStatusToSCMgr: state=";
    const std::vector<std::vector<std::string>> threads = {
        {"OrvoService::start: calling StartServiceCtrlDispatcher", "OrvoService::stop: entering",
         "OrvoService::stop: exiting", "OrvoService::start: StartServiceCtrlDispatcher returned, exiting",
         "OrvoService::start: exiting"},
        {report + "2", "service_main: creating WaitForServiceThread",
         "service_main: creating ServiceStartThread", "service_main: waiting for ServiceStartThread to exit",
         report + "2", "service_main: ServiceStartThread exited",
         "service_main: service has started, signaling SCM", report + "4"},
        {"ServiceStartThread: calling startIt", "ServiceStartThread: startIt returned with status=true"},
        {"WaitForServiceThread: waiting for service to exit",
         "WaitForServiceThread: enter: service completed", "WaitForServiceThread: creating ServiceStopThread",
         "WaitForServiceThread: waiting for ServiceStopThread to exit", report + "3",
         "WaitForServiceThread: ServiceStopThread has exited", "WaitForServiceThread: stopping service",
         report + "1"},
        {"ServiceStopThread: calling stopIt", "ServiceStopThread: stopIt returned with status=true"}};
    std::size_t texts = 0;
    for (const std::vector<std::string>& thread : threads) {
        // The first text of the second thread is not its own.
        const std::string& own = thread.size() > 1 ? thread[1] : thread[0];
        EXPECT_THAT(log.textsOfThreadOf(own), ElementsAreArray(thread));
        texts += thread.size();
    }
    EXPECT_EQ(texts, log.records().size());
    for (const Record& record : log.records()) EXPECT_EQ(9, record.level) << record.text;
}

TEST_F(OrvoServiceManagedTest, logsTheStepsOfDifferentThreadsInTheOrderOfTheirHandshakes) {
    run();
    const char* const order[] = {"OrvoService::start: calling StartServiceCtrlDispatcher",
                                 "service_main: creating WaitForServiceThread",
                                 "service_main: creating ServiceStartThread",
                                 "ServiceStartThread: calling startIt",
                                 "ServiceStartThread: startIt returned with status=true",
                                 "service_main: ServiceStartThread exited",
                                 "OrvoService::ReportStatusToSCMgr: state=4",
                                 "OrvoService::stop: entering",
                                 "WaitForServiceThread: enter: service completed",
                                 "ServiceStopThread: calling stopIt",
                                 "WaitForServiceThread: ServiceStopThread has exited",
                                 "OrvoService::ReportStatusToSCMgr: state=1",
                                 "OrvoService::start: StartServiceCtrlDispatcher returned, exiting"};
    for (std::size_t i = 1; i < std::size(order); ++i)
        EXPECT_LT(log.position(order[i - 1]), log.position(order[i])) << order[i];
}

TEST_F(OrvoServiceManagedTest, logsNothingBelowLevelNine) {
    OrvoLogging::getInstance().setLogLevel(8);
    run();
    EXPECT_THAT(log.texts(), testing::IsEmpty());
}

TEST_F(OrvoServiceManagedTest, aStopItThatFailsStopsItAllTheSame) {
    host.onStop = [] { return false; };
    EXPECT_TRUE(run());
    EXPECT_TRUE(log.has("ServiceStopThread: stopIt returned with status=false"));
    EXPECT_EQ(stopped, fake().reportedStates().back());
}

TEST_F(OrvoServiceManagedTest, aControlOtherThanStopReportsTheCurrentStateAgain) {
    std::thread asker([] {
        fake().sawState(running);
        fake().control(interrogate);
        fake().control(200);
        fake().control(platform::controlStop);
    });
    host.start("", true);
    asker.join();
    EXPECT_EQ(States({startPending, startPending, running, running, running, stopPending, stopped}),
              fake().reportedStates());
    EXPECT_EQ(0u, fake().reports[3].waitHint);
    EXPECT_EQ(0u, fake().reports[3].checkPoint);
}

TEST_F(OrvoServiceManagedTest, askedWhileItStartsItSaysSo) {
    host.onStart = [] {
        fake().control(interrogate);
        return true;
    };
    run();
    const States states = fake().reportedStates();
    EXPECT_EQ(States({startPending, startPending, startPending, running, stopPending, stopped}), states);
    const auto& reports = fake().reports;
    EXPECT_EQ(reports[0].checkPoint + 2, reports[2].checkPoint);
    EXPECT_EQ(1, std::count_if(reports.begin(), reports.begin() + 3,
                               [](const platform::ServiceStatus& report) { return report.waitHint == 0; }));
}

TEST_F(OrvoServiceManagedTest, aStopWhileItStartsTakesEffectOnceItHasStarted) {
    host.onStart = [this] {
        fake().control(platform::controlStop);
        EXPECT_EQ(OrvoService::StopPending, host.state());
        fake().passSecond();
        EXPECT_EQ(0, host.stops);
        return true;
    };
    EXPECT_TRUE(host.start("", true));
    EXPECT_EQ(1, host.stops);
    EXPECT_EQ(States({startPending, startPending, startPending, running, stopPending, stopped}),
              fake().reportedStates());
}

TEST_F(OrvoServiceManagedTest, aStopWhileItStartsInVainLeavesNothingBehind) {
    host.onStart = [] {
        fake().control(platform::controlStop);
        return false;
    };
    EXPECT_TRUE(host.start("", true));
    EXPECT_EQ(0, host.stops);
    EXPECT_EQ(stopped, fake().reportedStates().back());
    EXPECT_EQ(-2, host.getEventObject().wait(0));
}

TEST_F(OrvoServiceManagedTest, aStopBeforeTheStartTakesEffectOnceItHasStarted) {
    EXPECT_TRUE(host.stop());
    EXPECT_EQ(OrvoService::StopPending, host.state());
    EXPECT_TRUE(host.start("", true));
    EXPECT_EQ(1, host.starts);
    EXPECT_EQ(1, host.stops);
}

TEST_F(OrvoServiceManagedTest, stopsThatComeWhileItStopsAreForgotten) {
    host.onStop = [this] {
        host.stop();
        fake().control(platform::controlStop);
        return true;
    };
    run();
    EXPECT_EQ(1, host.stops);
    EXPECT_EQ(-2, host.getEventObject().wait(0));
}

TEST_F(OrvoServiceManagedTest, theProgramItselfMayStopIt) {
    std::thread program([this] {
        fake().sawState(running);
        EXPECT_TRUE(host.stop());
    });
    EXPECT_TRUE(host.start("", true));
    program.join();
    EXPECT_EQ(1, host.stops);
}

TEST_F(OrvoServiceManagedTest, theStopSignalIsToldToItsObserversOnce) {
    struct Observer : OrvoDependent {
        std::atomic<int> told{0};
        void handleNotification(OrvoCollaborator&, const OrvoNotification&) override { ++told; }
    } observer;
    host.getEventObject().addDependent(observer);
    run();
    EXPECT_EQ(1, observer.told);
    host.getEventObject().removeDependent(observer);
}

TEST_F(OrvoServiceManagedTest, startingOneThatRunsDoesNothing) {
    host.onStart = [this] { return host.start("again", true) && host.start("again", false); };
    run();
    EXPECT_EQ(1, host.starts);
    EXPECT_EQ(1, fake().dispatches);
    const std::vector<std::string> texts = log.texts();
    EXPECT_EQ(1, std::count(texts.begin(), texts.end(), "OrvoService::start: exiting"));
}

TEST_F(OrvoServiceManagedTest, withoutAControlManagerItReturnsAtOnce) {
    fake().startedByManager = false;
    EXPECT_TRUE(host.start("", true));
    EXPECT_EQ(0, host.starts);
    EXPECT_EQ(OrvoService::Stopped, host.state());
    EXPECT_THAT(log.texts(), ElementsAre("OrvoService::start: calling StartServiceCtrlDispatcher",
                                         "OrvoService::start: StartServiceCtrlDispatcher returned, exiting",
                                         "OrvoService::start: exiting"));
}

TEST_F(OrvoServiceManagedTest, reportingReturnsWhetherTheManagerTookIt) {
    host.onStart = [this] {
        EXPECT_TRUE(host.ReportStatusToSCMgr(startPending, 7, 1234));
        fake().takesReports = false;
        EXPECT_FALSE(host.ReportStatusToSCMgr(startPending, 0, 0));
        return true;
    };
    run();
    const auto& reports = fake().reports;
    EXPECT_TRUE(std::any_of(reports.begin(), reports.end(), [](const platform::ServiceStatus& report) {
        return report.win32ExitCode == 7 && report.waitHint == 1234;
    }));
    EXPECT_EQ(0u, reports.back().win32ExitCode);
}

TEST_F(OrvoServiceManagedTest, aServiceThatReportsItsEndItselfEnds) {
    std::thread program([this] {
        fake().sawState(running);
        host.ReportStatusToSCMgr(stopped, 42, 0);
    });
    EXPECT_TRUE(host.start("", true));
    program.join();
    EXPECT_EQ(0, host.stops);
    EXPECT_EQ(42u, fake().reports.back().win32ExitCode);
    EXPECT_EQ(OrvoService::Stopped, host.state());
    EXPECT_TRUE(fake().settled());
    EXPECT_EQ(-2, host.getEventObject().wait(0));
}

TEST_F(OrvoServiceManagedTest, theWatchdogIsAnsweredWhileTheServiceCanBeStoppedAndGoesOn) {
    const std::int64_t second = 1000000000;
    host.onStart = [&] {
        fake().passSecond();
        EXPECT_TRUE(fake().sawState(startPending, 3));  // the report of that second is out
        EXPECT_TRUE(fake().alive());
        {
            const std::lock_guard<std::mutex> guard(fake().lock);
            fake().now += 4 * second;
        }
        EXPECT_FALSE(fake().alive());  // for want of check points
        return true;
    };
    std::thread asker([&] {
        fake().sawState(running);
        {
            const std::lock_guard<std::mutex> guard(fake().lock);
            fake().now += 3600 * second;
        }
        EXPECT_TRUE(fake().alive());
        fake().control(platform::controlStop);
    });
    host.start("", true);
    asker.join();
    EXPECT_FALSE(fake().alive());
}

TEST_F(OrvoServiceManagedTest, itIsTheNewestObjectThatRuns) {
    Host newer("name", "newer", "Another service", "", false);
    EXPECT_EQ(&newer, OrvoService::getService());
    // What the object that runs the dispatcher says is what ends it.
    std::thread program([&] {
        newer.stop();
        while (newer.state() != OrvoService::Stopped) std::this_thread::yield();
        host.ReportStatusToSCMgr(stopped, 0, 0);
    });
    EXPECT_TRUE(host.start("", true));
    program.join();
    EXPECT_EQ("svc", fake().dispatchedName);
    EXPECT_EQ("newer", fake().registeredName);
    EXPECT_EQ(0, host.starts);
    EXPECT_EQ(1, newer.starts);
    EXPECT_EQ(1, newer.stops);
    EXPECT_EQ(States({stopped}), fake().reportedStates());  // the newer one was not started as a service
}

OSUPT_CHILD(firstCheckPoints) {
    renewFake();
    Host host("name", "svc", "A service", "", false);
    host.ReportStatusToSCMgr(startPending, 0, 0);  // counts for nothing, since it runs in a console
    fake().controlsWhenRunning = {platform::controlStop};
    host.start("", true);
    Host second("name", "svc", "A service", "", false);
    second.start("", true);
    std::vector<std::uint32_t> points;
    for (const platform::ServiceStatus& report : fake().reports) points.push_back(report.checkPoint);
    return points == std::vector<std::uint32_t>{1, 2, 0, 3, 0, 4, 5, 0, 6, 0} ? 0 : 1;
}

TEST(OrvoServiceCheckPointTest, beginsAtOneAndGoesOnThroughTheWholeProcess) {
    testing_support::ChildProcess process("firstCheckPoints");
    EXPECT_EQ(0, process.wait());
}

}  // namespace
