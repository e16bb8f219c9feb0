// Linux only: a service in a console, ended by real signals.
#include <gmock/gmock.h>
#include <signal.h>

#include "service/posix/ServiceFolder.h"

using namespace service_testing;
using testing::ElementsAre;
using testing_support::ChildProcess;
using testing_support::Command;
using testing_support::TempFolder;

namespace {

class ConsoleService : public testing::Test {
protected:
    ConsoleService() { folder.set("name", "svc"); }

    bool waits() const {
        return folder.get("console.log").find("OrvoService::start: waiting for service to exit") !=
               std::string::npos;
    }
    void start() {
        folder.set("events");
        folder.set("pid");
        folder.set("console.log");
        child = std::make_unique<ChildProcess>(Command{serviceProgram(), {"console", folder.path()}});
    }
    void send(int signal) { ::kill(folder.process(), signal); }

    TempFolder temp;
    ServiceFolder folder{temp.path()};
    std::unique_ptr<ChildProcess> child;
};

}  // namespace

TEST_F(ConsoleService, stopsForEachSignalThatAsksForIt) {
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM}) {
        SCOPED_TRACE(signal);
        start();
        ASSERT_TRUE(soon([&] { return waits(); }));
        send(signal);
        EXPECT_EQ(0, child->wait());
        EXPECT_THAT(folder.events(),
                    ElementsAre("startIt(from the console)", "stopIt()", "start() gave true"));
    }
}

TEST_F(ConsoleService, stopsAlsoWhenItsHostHasBlockedAllSignals) {
    folder.set("signals-blocked");
    start();
    ASSERT_TRUE(soon([&] { return waits(); }));
    send(SIGINT);
    EXPECT_EQ(0, child->wait());
    EXPECT_TRUE(folder.happened("stopIt()"));
}

TEST_F(ConsoleService, isNotEndedBySecondInterruptWhileItStops) {
    folder.set("stop-seconds", "60");
    start();
    ASSERT_TRUE(soon([&] { return waits(); }));
    send(SIGINT);
    ASSERT_TRUE(soon([&] { return !folder.get("resources").empty(); })) << "stopIt() runs";
    send(SIGINT);
    send(SIGTERM);
    folder.set("stop-seconds");
    EXPECT_EQ(0, child->wait());
    EXPECT_THAT(folder.events(), ElementsAre("startIt(from the console)", "stopIt()", "start() gave true"));
}

TEST_F(ConsoleService, isEndedByAnInterruptWhileItStartsAsAnyProgramIs) {
    folder.set("start-seconds", "60");
    start();
    ASSERT_TRUE(soon([&] { return folder.happened("startIt(from the console)"); }));
    send(SIGINT);
    EXPECT_EQ(128 + SIGINT, child->wait());
}

TEST_F(ConsoleService, givesFalseForAFailedStart) {
    folder.set("start-fails");
    start();
    EXPECT_EQ(3, child->wait());
    EXPECT_THAT(folder.events(), ElementsAre("startIt(from the console)", "start() gave false"));
}
