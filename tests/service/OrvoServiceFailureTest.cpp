// A service that does not come up: what is missing, what is reported and logged, and that nothing is left.
#include <OrvoException.h>

#include "service/ServiceFixture.h"

namespace {

using namespace service_testing;
using testing::ElementsAre;
using testing::IsEmpty;
using States = std::vector<std::uint32_t>;

const std::string report = "OrvoService::ReportStatusToSCMgr: state=";

class OrvoServiceFailureTest : public ServiceFixture {
protected:
    void TearDown() override {
        EXPECT_EQ(OrvoService::Stopped, host.state());
        EXPECT_EQ(0, host.stops);
        EXPECT_EQ(-2, host.getEventObject().wait(0));  // no stop is left for the next run
        ServiceFixture::TearDown();
    }

    void expectStoppedAtOnce() {
        EXPECT_EQ(stopped, fake().reports.back().currentState);
        EXPECT_EQ(0u, fake().reports.back().win32ExitCode);
        EXPECT_EQ(0u, fake().reports.back().checkPoint);
        EXPECT_EQ(0u, fake().reports.back().waitHint);
        EXPECT_FALSE(log.has(report + "4"));
        EXPECT_FALSE(log.has(report + "3"));
    }
};

TEST_F(OrvoServiceFailureTest, aRefusedRegistrationReportsNothing) {
    fake().registers = false;
    EXPECT_TRUE(host.start("", true));
    EXPECT_THAT(fake().reports, IsEmpty());
    EXPECT_EQ(nullptr, host.getStatusHandle());
    EXPECT_EQ(0, host.starts);
    EXPECT_EQ(0, fake().threadsCreated);
    EXPECT_THAT(log.texts(), ElementsAre("OrvoService::start: calling StartServiceCtrlDispatcher",
                                         "OrvoService::start: StartServiceCtrlDispatcher returned, exiting",
                                         "OrvoService::start: exiting"));
}

TEST_F(OrvoServiceFailureTest, withoutAThreadToWaitItStops) {
    fake().failingThread = 1;
    EXPECT_TRUE(host.start("", true));
    EXPECT_EQ(0, host.starts);
    EXPECT_EQ(1, fake().threadsCreated);
    EXPECT_EQ(States({startPending, stopped}), fake().reportedStates());
    expectStoppedAtOnce();
    EXPECT_THAT(log.textsOfThreadOf("service_main: creating WaitForServiceThread"),
                ElementsAre(report + "2", "service_main: creating WaitForServiceThread",
                            "service_main: WaitForServiceThread creation failed", report + "1"));
}

TEST_F(OrvoServiceFailureTest, withoutAThreadToStartItStops) {
    fake().failingThread = 2;
    EXPECT_TRUE(host.start("", true));
    EXPECT_EQ(0, host.starts);
    EXPECT_EQ(States({startPending, stopped}), fake().reportedStates());
    expectStoppedAtOnce();
    EXPECT_THAT(log.textsOfThreadOf("service_main: creating WaitForServiceThread"),
                ElementsAre(report + "2", "service_main: creating WaitForServiceThread",
                            "service_main: creating ServiceStartThread",
                            "service_main: ServiceStartThread creation failed",
                            "service_main: signaling WaitForServiceThread to exit", report + "1"));
    EXPECT_THAT(log.textsOfThreadOf("WaitForServiceThread: waiting for service to exit"),
                ElementsAre("WaitForServiceThread: waiting for service to exit",
                            "WaitForServiceThread: enter: service completed"));
}

TEST_F(OrvoServiceFailureTest, aStartThatFailsEndsStoppedWithExitCodeZero) {
    host.onStart = [] {
        fake().passSecond();
        return false;
    };
    EXPECT_TRUE(host.start("", true));
    EXPECT_EQ(States({startPending, startPending, startPending, stopped}), fake().reportedStates());
    expectStoppedAtOnce();
    EXPECT_THAT(log.textsOfThreadOf("service_main: creating WaitForServiceThread"),
                ElementsAre(report + "2", "service_main: creating WaitForServiceThread",
                            "service_main: creating ServiceStartThread",
                            "service_main: waiting for ServiceStartThread to exit", report + "2",
                            report + "2", "service_main: ServiceStartThread exited",
                            "service_main: Service start failed, signaling WaitForServiceThread to exit",
                            report + "1"));
    EXPECT_THAT(log.textsOfThreadOf("ServiceStartThread: calling startIt"),
                ElementsAre("ServiceStartThread: calling startIt",
                            "ServiceStartThread: startIt returned with status=false"));
    EXPECT_THAT(log.textsOfThreadOf("WaitForServiceThread: waiting for service to exit"),
                ElementsAre("WaitForServiceThread: waiting for service to exit",
                            "WaitForServiceThread: enter: service completed"));
}

TEST_F(OrvoServiceFailureTest, anUnreadableExitCodeCountsAsAFailedStart) {
    fake().exitCodeReadable = false;
    EXPECT_TRUE(host.start("", true));
    EXPECT_EQ(1, host.starts);
    EXPECT_EQ(States({startPending, startPending, stopped}), fake().reportedStates());
    expectStoppedAtOnce();
    EXPECT_THAT(log.textsOfThreadOf("service_main: creating WaitForServiceThread"),
                ElementsAre(report + "2", "service_main: creating WaitForServiceThread",
                            "service_main: creating ServiceStartThread",
                            "service_main: waiting for ServiceStartThread to exit", report + "2",
                            "service_main: ServiceStartThread exited",
                            "service_main: Unable to get ServiceStartThread exit code, signaling "
                            "WaitForServiceThread to exit",
                            report + "1"));
}

TEST_F(OrvoServiceFailureTest, withoutAThreadToStopItStopsAllTheSame) {
    fake().failingThread = 3;
    fake().controlsWhenRunning = {platform::controlStop};
    EXPECT_TRUE(host.start("", true));
    EXPECT_EQ(States({startPending, startPending, running, stopped}), fake().reportedStates());
    EXPECT_THAT(log.textsOfThreadOf("WaitForServiceThread: waiting for service to exit"),
                ElementsAre("WaitForServiceThread: waiting for service to exit",
                            "WaitForServiceThread: enter: service completed",
                            "WaitForServiceThread: creating ServiceStopThread",
                            "WaitForServiceThread: stopping service", report + "1"));
}

TEST_F(OrvoServiceFailureTest, aStartThatThrowsTheLibrarysExceptionHasFailed) {
    host.onStart = []() -> bool { throw OrvoException(string("no database"), 0); };
    EXPECT_TRUE(host.start("", true));
    expectStoppedAtOnce();
    EXPECT_TRUE(log.has("ServiceStartThread: startIt has thrown: no database"));
    EXPECT_TRUE(log.has("ServiceStartThread: startIt returned with status=false"));
}

TEST_F(OrvoServiceFailureTest, afterAFailureItCanBeStartedAgain) {
    host.onStart = [] { return false; };
    host.start("", true);
    host.onStart = [] { return true; };
    fake().controlsWhenRunning = {platform::controlStop};
    host.start("", true);
    EXPECT_EQ(1, host.stops);
    host.stops = 0;
}

}  // namespace
