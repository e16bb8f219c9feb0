// Linux only: whole runs of a service for which the test plays systemd: it names a socket, listens there, and
// sends signals.
#include <gmock/gmock.h>
#include <poll.h>
#include <signal.h>
#include <stddef.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "platform/posix/Descriptor.h"
#include "service/posix/ServiceFolder.h"

using namespace service_testing;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using testing_support::ChildProcess;
using testing_support::Command;
using testing_support::setEnvironment;
using testing_support::TempFolder;

namespace {

const char starting[] = "EXTEND_TIMEOUT_USEC=3000000\nSTATUS=Starting, check point ";
const char running[] = "READY=1\nSTATUS=Running";
const char stopping[] = "STOPPING=1\nEXTEND_TIMEOUT_USEC=3000000\nSTATUS=Stopping, check point ";
const char stopped[] = "STATUS=Stopped";

// The socket that systemd would listen at.
class Listener {
public:
    explicit Listener(const std::string& name) : m_socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        ::memcpy(address.sun_path, name.data(), name.size());
        if (name[0] == '@') address.sun_path[0] = '\0';
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
        if (::bind(m_socket.get(), reinterpret_cast<sockaddr*>(&address), length) == 0)
            setEnvironment("NOTIFY_SOCKET", name.c_str());
    }
    ~Listener() { setEnvironment("NOTIFY_SOCKET", nullptr); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    // The next message, "nothing" when none comes.
    std::string next(int milliseconds = 60000) {
        pollfd waited = {m_socket.get(), POLLIN, 0};
        if (::poll(&waited, 1, milliseconds) <= 0) return "nothing";
        char buffer[1000];
        const ssize_t size = ::recv(m_socket.get(), buffer, sizeof buffer, 0);
        return std::string(buffer, size > 0 ? static_cast<std::size_t>(size) : 0);
    }
    // All messages up to and with this one; ends in "nothing" when it never comes.
    std::vector<std::string> upTo(const std::string& last) {
        std::vector<std::string> messages;
        do messages.push_back(next());
        while (messages.back() != last && messages.back() != "nothing");
        return messages;
    }
    // All messages up to and with the last of so many that begin so.
    std::vector<std::string> upTo(int times, const std::string& begin) {
        std::vector<std::string> messages;
        while (times > 0) {
            messages.push_back(next());
            if (messages.back() == "nothing") break;
            times -= messages.back().compare(0, begin.size(), begin) == 0;
        }
        return messages;
    }

private:
    const OrvoSupport::platform::Descriptor m_socket;
};

class NotifiedService : public testing::Test {
protected:
    NotifiedService() { folder.set("name", "svc"); }
    ~NotifiedService() override {
        for (const char* name : {"WATCHDOG_USEC", "WATCHDOG_PID", "OSUPT_SERVICE_ARGUMENTS"})
            setEnvironment(name, nullptr);
    }

    void start() {
        child = std::make_unique<ChildProcess>(
            Command{serviceProgram(), {"service", folder.path(), "--of-the-unit"}});
    }
    void send(int signal) { ::kill(folder.process(), signal); }

    TempFolder temp;
    ServiceFolder folder{temp.path()};
    Listener systemd{temp.file("notify")};
    std::unique_ptr<ChildProcess> child;
};

}  // namespace

TEST_F(NotifiedService, tellsWhatHappensFromStartToEnd) {
    start();
    EXPECT_EQ(starting + std::string("1"), systemd.next());
    const std::vector<std::string> coming = systemd.upTo(running);
    EXPECT_EQ(running, coming.back());
    EXPECT_THAT(coming.front(), StartsWith(starting));
    EXPECT_EQ("nothing", systemd.next(1500)) << "while it runs there is nothing to tell";

    send(SIGTERM);
    const std::vector<std::string> going = systemd.upTo(stopped);
    EXPECT_THAT(going.front(), StartsWith(stopping));
    EXPECT_EQ(stopped, going.back());
    EXPECT_EQ(0, child->wait());
    EXPECT_EQ("nothing", systemd.next(0));
    EXPECT_THAT(folder.events(), ElementsAre("startIt()", "stopIt()", "start() gave true"));
}

TEST_F(NotifiedService, showsProgressWhileItStartsAndStops) {
    folder.set("start-seconds", "60");
    folder.set("stop-seconds", "60");
    start();
    std::vector<std::string> all;
    const auto add = [&](const std::vector<std::string>& more) {
        all.insert(all.end(), more.begin(), more.end());
    };
    add(systemd.upTo(4, starting));
    folder.set("start-seconds");
    add(systemd.upTo(running));
    send(SIGTERM);
    add(systemd.upTo(4, stopping));
    folder.set("stop-seconds");
    add(systemd.upTo(stopped));
    EXPECT_EQ(stopped, all.back());
    int point = 0;
    for (const std::string& message : all) {
        if (message == running || message == stopped) continue;
        EXPECT_THAT(message, testing::EndsWith("check point " + std::to_string(++point)));
    }
    EXPECT_EQ(0, child->wait());
}

TEST_F(NotifiedService, reportsAFailedStartAsStopped) {
    folder.set("start-fails");
    start();
    EXPECT_THAT(systemd.upTo(stopped), AllOf(Contains(StartsWith(starting)), Not(Contains(running))));
    EXPECT_EQ(0, child->wait());
    EXPECT_THAT(folder.events(), ElementsAre("startIt()", "start() gave true"));
}

TEST_F(NotifiedService, stopsOnceItHasStartedWhenAskedEarlier) {
    folder.set("start-seconds", "2");
    start();
    ASSERT_TRUE(soon([&] { return folder.happened("startIt()"); }));
    send(SIGTERM);
    systemd.upTo(stopped);
    EXPECT_EQ(0, child->wait());
    EXPECT_THAT(folder.events(), ElementsAre("startIt()", "stopIt()", "start() gave true"));
}

TEST_F(NotifiedService, takesAFurtherStopForTheSameOne) {
    folder.set("stop-seconds", "60");
    start();
    systemd.upTo(running);
    send(SIGTERM);
    EXPECT_THAT(systemd.next(), StartsWith(stopping));
    send(SIGTERM);
    send(SIGTERM);
    folder.set("stop-seconds");
    systemd.upTo(stopped);
    EXPECT_EQ(0, child->wait());
    EXPECT_THAT(folder.events(), ElementsAre("startIt()", "stopIt()", "start() gave true"));
}

TEST_F(NotifiedService, reportsAgainWhenAsked) {
    start();
    systemd.upTo(running);
    for (int i = 0; i < 3; ++i) {
        send(SIGHUP);
        EXPECT_EQ(running, systemd.next());
    }
    send(SIGTERM);
    EXPECT_EQ(stopped, systemd.upTo(stopped).back());
    EXPECT_EQ(0, child->wait());
}

TEST_F(NotifiedService, isNotReadyForBeingAskedWhileItStarts) {
    folder.set("start-seconds", "60");
    start();
    ASSERT_TRUE(soon([&] { return folder.happened("startIt()"); }));
    send(SIGHUP);
    const std::vector<std::string> coming = systemd.upTo(1, "STATUS=Starting");
    EXPECT_THAT(coming.back(), StartsWith("STATUS=Starting")) << "the answer";
    EXPECT_THAT(coming, Not(Contains(running)));
    EXPECT_THAT(systemd.next(), StartsWith(starting)) << "it is still starting";
    folder.set("start-seconds");
    EXPECT_EQ(running, systemd.upTo(running).back());
    send(SIGTERM);
    systemd.upTo(stopped);
    EXPECT_EQ(0, child->wait());
}

TEST_F(NotifiedService, passesTheArgumentsOfTheControlManager) {
    struct Case {
        const char *what, *variable, *arguments;
    };
    const Case cases[] = {
        {"two", "a b", "a b "},     {"one", "a", "a "},
        {"only blanks", "   ", ""}, {"more blanks", "  a   b ", "a b "},
        {"empty", "", ""},          {"bytes of any kind", "\xFC\t%n\\ \"x\"", "\xFC\t%n\\ \"x\" "},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        folder.set("events");
        setEnvironment("OSUPT_SERVICE_ARGUMENTS", c.variable);
        start();
        systemd.upTo(running);
        send(SIGTERM);
        systemd.upTo(stopped);
        EXPECT_EQ(0, child->wait());
        EXPECT_TRUE(folder.happened("startIt(" + std::string(c.arguments) + ")")) << folder.get("events");
    }
}

TEST_F(NotifiedService, hearsSignalsThatItsHostHasBlocked) {
    folder.set("signals-blocked");
    start();
    systemd.upTo(running);
    send(SIGHUP);
    EXPECT_EQ(running, systemd.next());
    send(SIGTERM);
    EXPECT_EQ(stopped, systemd.upTo(stopped).back());
    EXPECT_EQ(0, child->wait());
}

TEST_F(NotifiedService, listensAtNamesThatAreNoFiles) {
    Listener other("@osupt-test-" + temp.path());
    start();
    EXPECT_EQ(running, other.upTo(running).back());
    send(SIGTERM);
    EXPECT_EQ(stopped, other.upTo(stopped).back());
    EXPECT_EQ(0, child->wait());
}

TEST_F(NotifiedService, listensAtNamesOfFullLength) {
    std::string name = "@osupt-test-" + temp.path();
    name.resize(sizeof(sockaddr_un::sun_path), 'x');
    Listener other(name);
    start();
    EXPECT_EQ(running, other.upTo(running).back());
    send(SIGTERM);
    EXPECT_EQ(stopped, other.upTo(stopped).back());
    EXPECT_EQ(0, child->wait());
}

TEST_F(NotifiedService, returnsAtOnceWithoutAControlManager) {
    for (const char* name : {static_cast<const char*>(nullptr), "", "/", "relative", "@"}) {
        SCOPED_TRACE(name ? name : "unset");
        folder.set("events");
        setEnvironment("NOTIFY_SOCKET", name);
        start();
        EXPECT_EQ(0, child->wait());
        EXPECT_THAT(folder.events(), ElementsAre("start() gave true"));
    }
}

TEST_F(NotifiedService, runsOnWhenNobodyListens) {
    setEnvironment("NOTIFY_SOCKET", temp.file("gone").c_str());
    start();
    ASSERT_TRUE(
        soon([&] { return folder.records("service_main: service has started, signaling SCM") == 1; }));
    send(SIGTERM);
    EXPECT_EQ(0, child->wait());
    EXPECT_TRUE(folder.happened("stopIt()"));
}

TEST_F(NotifiedService, answersTheWatchdogInEveryState) {
    setEnvironment("WATCHDOG_USEC", "400000");
    folder.set("start-seconds", "60");
    folder.set("stop-seconds", "60");
    start();
    EXPECT_EQ("WATCHDOG=1", systemd.upTo(5, "WATCHDOG=1").back());
    folder.set("start-seconds");
    EXPECT_EQ(running, systemd.upTo(running).back());
    for (int i = 0; i < 5; ++i) EXPECT_EQ("WATCHDOG=1", systemd.next());
    send(SIGTERM);
    systemd.upTo(1, stopping);
    EXPECT_EQ("WATCHDOG=1", systemd.upTo(5, "WATCHDOG=1").back());
    folder.set("stop-seconds");
    EXPECT_EQ(stopped, systemd.upTo(stopped).back());
    EXPECT_EQ(0, child->wait());
}

TEST_F(NotifiedService, leavesAWatchdogAloneThatIsNotItsOwn) {
    struct Case {
        const char *what, *microseconds, *process;
    };
    const Case cases[] = {{"for another process", "200000", "1"},
                          {"no number", "soon", nullptr},
                          {"nothing", "0", nullptr},
                          {"less than nothing", "-200000", nullptr},
                          {"for ever", "18446744073709551615", nullptr}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        setEnvironment("WATCHDOG_USEC", c.microseconds);
        setEnvironment("WATCHDOG_PID", c.process);
        start();
        systemd.upTo(running);
        EXPECT_EQ("nothing", systemd.next(500));
        send(SIGTERM);
        systemd.upTo(stopped);
        EXPECT_EQ(0, child->wait());
    }
}

TEST_F(NotifiedService, startsAndStopsOverAndOver) {
    for (int i = 0; i < 50; ++i) {
        folder.set("events");
        start();
        ASSERT_EQ(running, systemd.upTo(running).back());
        send(SIGTERM);
        ASSERT_EQ(stopped, systemd.upTo(stopped).back());
        ASSERT_EQ(0, child->wait());
        ASSERT_THAT(folder.events(), ElementsAre("startIt()", "stopIt()", "start() gave true"));
    }
}

// The signal may come before anybody has asked for it: then it ends the process, as systemd expects.
TEST_F(NotifiedService, endsWhenASignalComesAtAnyMoment) {
    for (int i = 0; i < 60; ++i) {
        folder.set("pid");
        start();
        ASSERT_TRUE(soon([&] { return folder.process() != 0; }));
        std::this_thread::sleep_for(std::chrono::microseconds(200 * i));
        send(SIGTERM);
        const int exitCode = child->wait();
        ASSERT_TRUE(exitCode == 0 || exitCode == 128 + SIGTERM) << exitCode;
        while (systemd.next(0) != "nothing") {
        }
    }
}
