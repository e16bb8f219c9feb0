// Linux only: services under a real systemd, booted for this program in namespaces of its own.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>

#include "service/posix/BootedSystemd.h"
#include "service/posix/ServiceFolder.h"

using namespace service_testing;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

std::unique_ptr<BootedSystemd> theSystemd;

class SystemdEnvironment : public testing::Environment {
public:
    void SetUp() override { theSystemd = std::make_unique<BootedSystemd>(); }
    void TearDown() override { theSystemd.reset(); }
};
const testing::Environment* const environment = testing::AddGlobalTestEnvironment(new SystemdEnvironment);

/// One installed service after another, each with a folder of its own.
class Systemd : public testing::Test {
protected:
    void SetUp() override {
        if (!theSystemd->reason().empty())
            GTEST_SKIP() << "no systemd can be booted here: " << theSystemd->reason();
        filesBefore = files();
    }
    void TearDown() override {
        if (!theSystemd->reason().empty()) return;
        for (const auto& folder : folders) {
            if (folder->get("kept").empty()) act("remove", *folder);
        }
        theSystemd->run({"sh", "-c", "rm -rf /run/systemd/system/*.d && systemctl daemon-reload"});
        theSystemd->systemctl({"reset-failed"});  // and forget how often it was started
        EXPECT_EQ(filesBefore, files()) << "nothing is left";
    }

    /// A service of this name that is not yet installed.
    ServiceFolder& make(const std::string& name, const std::string& folderName = "") {
        const std::string path = theSystemd->exchange() + "/" +
                                 (folderName.empty() ? "service" + std::to_string(++counter) : folderName);
        std::filesystem::create_directory(path);
        folders.push_back(std::make_unique<ServiceFolder>(path));
        folders.back()->set("name", name);
        folders.back()->set("display", "Shown as " + name);
        return *folders.back();
    }
    ServiceFolder& install(const std::string& name) {
        ServiceFolder& folder = make(name);
        EXPECT_EQ(0, act("install", folder));
        return folder;
    }
    static int act(const std::string& action, const ServiceFolder& folder) {
        return theSystemd->run({serviceProgram(), action, folder.path()}).exitCode;
    }
    static int start(const std::string& unit) {
        return theSystemd->systemctl({"start", "--", unit}).exitCode;
    }
    static int stop(const std::string& unit) { return theSystemd->systemctl({"stop", "--", unit}).exitCode; }
    static std::string property(const std::string& unit, const std::string& name) {
        const std::string text =
            theSystemd->systemctl({"show", "--property=" + name, "--value", "--", unit}).output;
        return text.substr(0, text.find('\n'));
    }
    static std::string state(const std::string& unit) {
        return property(unit, "ActiveState") + "/" + property(unit, "SubState");
    }
    static std::string unitFile(const std::string& unit) {
        return theSystemd->read(std::string(OSUPT_UNIT_DIR) + "/" + unit);
    }
    static void send(const std::string& signal, const std::string& unit) {
        theSystemd->systemctl({"kill", "--kill-whom=main", "--signal=" + signal, "--", unit});
    }
    static std::string files() { return theSystemd->run({"find", OSUPT_UNIT_DIR}).output; }
    static void addToUnit(const std::string& unit, const std::string& lines) {
        const std::string folder = "/run/systemd/system/" + unit + ".d";
        theSystemd->run({"sh", "-c", "mkdir -p \"$1\" && printf '%s\\n' '[Service]' \"$2\" >\"$1/more.conf\"",
                         "sh", folder, lines});
        theSystemd->systemctl({"daemon-reload"});
    }
    static bool takesPart(const ServiceFolder& folder, const std::string& text, const std::string& log) {
        return folder.get(log).find(text) != std::string::npos;
    }

    std::vector<std::unique_ptr<ServiceFolder>> folders;
    std::string filesBefore;

private:
    static int counter;
};
int Systemd::counter = 0;

std::vector<std::string> argumentsOf(const ServiceFolder& folder) {
    std::vector<std::string> words;
    const std::string text = folder.get("argv");
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\0', begin);
        words.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return words;
}

}  // namespace

TEST_F(Systemd, takesTheUnitThatIsInstalled) {
    ServiceFolder& folder = make("agent");
    folder.set("display", "The agent: 100% \\");
    ASSERT_EQ(0, act("install", folder));
    const auto verdict = theSystemd->run(
        {"systemd-analyze", "verify", "--man=no", std::string(OSUPT_UNIT_DIR) + "/agent.service"});
    EXPECT_EQ(0, verdict.exitCode) << verdict.output;
    EXPECT_EQ("", verdict.output);
    EXPECT_EQ("loaded", property("agent", "LoadState"));
    EXPECT_EQ("enabled", property("agent", "UnitFileState"));
    EXPECT_EQ("notify", property("agent", "Type"));
    EXPECT_EQ("The agent: 100% \\", property("agent", "Description"));
    EXPECT_THAT(property("multi-user.target", "Wants"), HasSubstr("agent.service"));
    EXPECT_EQ("inactive/dead", state("agent")) << "installing does not start";
}

TEST_F(Systemd, showsTheDescriptionRatherThanTheName) {
    ServiceFolder& folder = make("agent");
    folder.set("description", "Watches folders (50% of them)");
    ASSERT_EQ(0, act("install", folder));
    EXPECT_EQ("Watches folders (50% of them)", property("agent", "Description"));
}

TEST_F(Systemd, installsThoughTheDescriptionIsRefused) {
    ServiceFolder& folder = make("agent");
    folder.set("description", "first\nExecStart=/bin/false");
    ASSERT_EQ(0, act("install", folder));
    EXPECT_EQ("Shown as agent", property("agent", "Description"));
    EXPECT_THAT(unitFile("agent.service"), Not(HasSubstr("/bin/false")));
    EXPECT_TRUE(
        takesPart(folder, "OrvoService::install: failed to set service description (22)", "install.log"));
}

TEST_F(Systemd, startsAndStops) {
    ServiceFolder& folder = install("agent");
    ASSERT_EQ(0, start("agent"));
    EXPECT_EQ(1, folder.records("service_main: service has started, signaling SCM"))
        << "systemctl start returns once it runs";
    EXPECT_EQ("active/running", state("agent"));
    EXPECT_EQ("Running", property("agent", "StatusText"));
    EXPECT_THAT(theSystemd->systemctl({"status", "agent"}).output, HasSubstr("Status: \"Running\""));

    ASSERT_EQ(0, stop("agent"));
    EXPECT_EQ("inactive/dead", state("agent"));
    EXPECT_EQ("success", property("agent", "Result"));
    EXPECT_EQ("0", property("agent", "ExecMainStatus"));
    EXPECT_THAT(folder.events(), ElementsAre("startIt()", "stopIt()", "start() gave true"));
}

TEST_F(Systemd, passesArgumentsOfItsOwn) {
    ServiceFolder& folder = install("agent");
    ASSERT_EQ(0, theSystemd->systemctl({"set-environment", "OSUPT_SERVICE_ARGUMENTS=a b"}).exitCode);
    EXPECT_EQ(0, start("agent"));
    theSystemd->systemctl({"unset-environment", "OSUPT_SERVICE_ARGUMENTS"});
    EXPECT_TRUE(folder.happened("startIt(a b )"));
}

TEST_F(Systemd, showsProgressWhileTheServiceStartsAndStops) {
    ServiceFolder& folder = install("agent");
    folder.set("start-seconds", "60");
    folder.set("stop-seconds", "60");
    ASSERT_EQ(0, theSystemd->systemctl({"start", "--no-block", "agent"}).exitCode);
    std::set<std::string> seen;
    EXPECT_TRUE(soon([&] {
        const std::string text = property("agent", "StatusText");
        if (text.find("Starting, check point ") == 0) seen.insert(text);
        return seen.size() >= 2;
    }));
    folder.set("start-seconds");
    EXPECT_TRUE(soon([&] { return property("agent", "StatusText") == "Running"; }));
    EXPECT_EQ("active/running", state("agent"));
    ASSERT_EQ(0, theSystemd->systemctl({"stop", "--no-block", "agent"}).exitCode);
    EXPECT_TRUE(soon([&] { return state("agent") == "deactivating/stop-sigterm"; }));
    EXPECT_TRUE(soon([&] { return property("agent", "StatusText").find("Stopping, check point ") == 0; }));
    folder.set("stop-seconds");
    EXPECT_TRUE(soon([&] { return state("agent") == "inactive/dead"; }));
    EXPECT_EQ("success", property("agent", "Result"));
}

TEST_F(Systemd, extendsTheTimeOfAStartAndAStopThatGoOn) {
    ServiceFolder& folder = install("agent");
    addToUnit("agent.service", "TimeoutStartSec=8\nTimeoutStopSec=8");
    folder.set("start-seconds", "12");
    folder.set("stop-seconds", "12");
    EXPECT_EQ(0, start("agent"));
    EXPECT_EQ("active/running", state("agent"));
    EXPECT_EQ(0, stop("agent"));
    EXPECT_EQ("success", property("agent", "Result"));
    EXPECT_TRUE(folder.happened("stopIt()"));
}

TEST_F(Systemd, stopsAServiceThatIsStillStarting) {
    ServiceFolder& folder = install("agent");
    folder.set("start-seconds", "2");
    ASSERT_EQ(0, theSystemd->systemctl({"start", "--no-block", "agent"}).exitCode);
    ASSERT_TRUE(soon([&] { return folder.happened("startIt()"); }));
    EXPECT_EQ(0, stop("agent"));
    EXPECT_THAT(folder.events(), ElementsAre("startIt()", "stopIt()", "start() gave true"));
    EXPECT_EQ("inactive/dead", state("agent"));
}

TEST_F(Systemd, hearsAgainWhatTheStateIsWhenItAsks) {
    ServiceFolder& folder = install("agent");
    ASSERT_EQ(0, start("agent"));
    const long before = folder.records("OrvoService::ReportStatusToSCMgr: state=4");
    send("SIGHUP", "agent");
    EXPECT_TRUE(
        soon([&] { return folder.records("OrvoService::ReportStatusToSCMgr: state=4") == before + 1; }));
    EXPECT_EQ("active/running", state("agent"));
}

// The process leaves with exit code 0 before it was ready, which is what systemd calls a breach of protocol.
TEST_F(Systemd, marksAServiceAsFailedThatCannotStart) {
    ServiceFolder& folder = install("agent");
    folder.set("start-fails");
    EXPECT_NE(0, start("agent"));
    EXPECT_EQ("failed/failed", state("agent"));
    EXPECT_EQ("protocol", property("agent", "Result"));
    EXPECT_EQ("0", property("agent", "ExecMainStatus"));
    EXPECT_THAT(folder.events(), ElementsAre("startIt()", "start() gave true"));
    EXPECT_EQ(0, act("remove", folder));
    EXPECT_EQ("not-found", property("agent", "LoadState")) << "not even as a failed one";
}

TEST_F(Systemd, noticesAServiceThatCrashes) {
    ServiceFolder& folder = install("agent");
    folder.set("start-crashes");
    EXPECT_NE(0, start("agent"));
    EXPECT_EQ("failed/failed", state("agent"));
}

TEST_F(Systemd, endsAServiceThatStandsStillWhenItHasAWatchdog) {
    ServiceFolder& folder = install("agent");
    addToUnit("agent.service", "WatchdogSec=5s\nTimeoutAbortSec=1s\nLimitCORE=0");
    ASSERT_EQ(0, start("agent"));
    std::this_thread::sleep_for(std::chrono::seconds(7));
    ASSERT_EQ("active/running", state("agent")) << "as long as it answers";
    send("SIGSTOP", "agent");
    EXPECT_TRUE(soon([&] { return state("agent") == "failed/failed"; }));
    EXPECT_EQ("watchdog", property("agent", "Result"));
    EXPECT_FALSE(folder.happened("stopIt()"));
}

TEST_F(Systemd, forgetsAServiceThatIsRemoved) {
    const std::string before = files();
    ServiceFolder& folder = install("agent");
    ASSERT_EQ(0, start("agent"));
    ASSERT_EQ(0, stop("agent"));
    EXPECT_EQ(0, act("remove", folder));
    EXPECT_EQ(before, files());
    EXPECT_EQ("not-found", property("agent", "LoadState"));
    EXPECT_EQ(1, act("remove", folder)) << "there is none any more";
    folder.set("kept", "no");
}

TEST_F(Systemd, stopsARunningServiceThatIsRemoved) {
    ServiceFolder& folder = install("agent");
    folder.set("stop-seconds", "2");
    ASSERT_EQ(0, start("agent"));
    EXPECT_EQ(0, act("remove", folder));
    EXPECT_THAT(folder.events(), ElementsAre("startIt()", "stopIt()", "start() gave true"));
    EXPECT_EQ("not-found", property("agent", "LoadState"));
}

TEST_F(Systemd, stopsFirstWhatDependsOnAServiceThatIsRemoved) {
    using namespace std::string_literals;
    ServiceFolder& base = install("the base");
    ServiceFolder& user = make("user");
    user.set("dependencies", "the base\0"s);
    user.set("stop-seconds", "4");
    ASSERT_EQ(0, act("install", user));
    const char shown[] = R"("the\\x20base.service")";
    EXPECT_THAT(property("user", "Requires"), HasSubstr(shown));
    EXPECT_THAT(property("user", "After"), HasSubstr(shown));
    ASSERT_EQ(0, start("user"));
    EXPECT_EQ("active/running", state("the\\x20base.service")) << "which it needs";
    EXPECT_EQ(0, act("remove", base));
    EXPECT_TRUE(user.happened("stopIt()"));
    EXPECT_TRUE(base.happened("stopIt()"));
}

TEST_F(Systemd, installsANameOnce) {
    ServiceFolder& first = install("agent");
    const std::string unit = unitFile("agent.service"), all = files();
    ServiceFolder& second = make("agent");
    EXPECT_EQ(1, act("install", second));
    EXPECT_EQ(unit, unitFile("agent.service"));
    EXPECT_EQ(all, files());
    EXPECT_EQ(0, act("remove", first));
    EXPECT_EQ(0, act("install", second));
}

TEST_F(Systemd, hidesNoServiceOfTheSystem) {
    theSystemd->run({"sh", "-c",
                     "mkdir -p /run/systemd/system && printf '[Service]\\nExecStart=/bin/true\\n' "
                     ">/run/systemd/system/vendor.service && systemctl daemon-reload"});
    ServiceFolder& folder = make("vendor");
    EXPECT_EQ(1, act("install", folder));
    EXPECT_EQ("", unitFile("vendor.service"));
    EXPECT_EQ(1, act("remove", folder)) << "nor takes it away";
    theSystemd->run({"rm", "/run/systemd/system/vendor.service"});
    theSystemd->systemctl({"daemon-reload"});
}

TEST_F(Systemd, takesNamesOfAnyKind) {
    struct Case {
        std::string name, unit;
    };
    const Case cases[] = {{"my agent", "my\\x20agent.service"},
                          {"50%n", "50\\x25n.service"},
                          {"back\\slash", "back\\x5cslash.service"},
                          {"\"quotes'", "\\x22quotes\\x27.service"},
                          {"M\xC3\xBCller", "M\\xc3\\xbcller.service"},
                          {"M\xFCller", "M\\xfcller.service"},
                          {"template@x", "template\\x40x.service"},
                          {"-option", "-option.service"},
                          {".hidden", "\\x2ehidden.service"},
                          {"*", "\\x2a.service"},
                          {std::string(247, 'x'), std::string(247, 'x') + ".service"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.unit);
        ServiceFolder& folder = make(c.name);
        ASSERT_EQ(0, act("install", folder));
        EXPECT_NE("", unitFile(c.unit));
        EXPECT_EQ(0, start(c.unit));
        EXPECT_EQ("active/running", state(c.unit));
        EXPECT_EQ(0, stop(c.unit));
        EXPECT_EQ(0, act("remove", folder));
        EXPECT_THAT(folder.events(), ElementsAre("startIt()", "stopIt()", "start() gave true"));
        folder.set("kept", "no");
    }
}

TEST_F(Systemd, handsOverArgumentsAsTheyAre) {
    ServiceFolder& folder = make("agent", "a folder of 100% $HOME ${M\xC3\xBCller}");
    // As main() gets them on every system.
    folder.set("arguments",
               "plain \"with blanks\" \"\" 50%n %% $HOME ${HOME} $$ back\\slash\\ \"q\\\"q\" it's ; # "
               "\\x41 \\n umlaut-\xC3\xBC single-\xFC \"tab\there\" -flag @at [Service] last");
    ASSERT_EQ(0, act("install", folder));
    ASSERT_EQ(0, start("agent"));
    EXPECT_THAT(
        argumentsOf(folder),
        ElementsAre(serviceProgram(), "service", folder.path(), "plain", "with blanks", "", "50%n", "%%",
                    "$HOME", "${HOME}", "$$", "back\\slash\\", "q\"q", "it's", ";", "#", "\\x41", "\\n",
                    "umlaut-\xC3\xBC", "single-\xFC", "tab\there", "-flag", "@at", "[Service]", "last"));
    EXPECT_EQ(0, act("remove", folder)) << "though systemd cannot show such a command line";
    EXPECT_TRUE(folder.happened("stopIt()"));
    folder.set("kept", "no");
}

TEST_F(Systemd, runsProgramsAtPathsOfAnyKind) {
    const std::string paths[] = {"with blanks",   "50%n",      "a$b${c}",
                                 "M\xC3\xBCller", "M\xFCller", "semi;colon"};
    for (const std::string& name : paths) {
        SCOPED_TRACE(name);
        ServiceFolder& folder = make("agent");
        const std::string program = folder.path() + "/" + name;
        std::filesystem::copy_file(serviceProgram(), program);
        ASSERT_EQ(0, theSystemd->run({program, "install", folder.path()}).exitCode);
        EXPECT_EQ(0, start("agent"));
        ASSERT_FALSE(argumentsOf(folder).empty());
        EXPECT_EQ(program, argumentsOf(folder)[0]);
        EXPECT_EQ(0, stop("agent"));
        EXPECT_EQ(0, act("remove", folder));
        folder.set("kept", "no");
    }
}

TEST_F(Systemd, refusesWhatIsHostile) {
    using namespace std::string_literals;
    struct Case {
        const char* what;
        std::string file, value, reason;
    };
    const std::string badName = "OrvoService::install: not a name for a service: ";
    const std::string badText =
        "OrvoService::install: a line break or the like in what describes the service: ";
    const Case cases[] = {
        {"an empty name", "name", "", badName},
        {"a slash", "name", "../../../tmp/x", badName},
        {"a line break in the name", "name", "x\n[Service]\nExecStart=/bin/false", badName},
        {"too long a name", "name", std::string(248, 'x'), badName},
        {"a line break in the display name", "display", "x\n[Service]\nExecStart=/bin/false", badText},
        {"a line break in the arguments", "arguments", "x\n[Service]\nExecStart=/bin/false", badText},
        {"a NUL in the arguments", "arguments", "x\0y"s, badText},
        {"a slash in a dependency", "dependencies", "../x\0"s, badText},
        {"a line break in a dependency", "dependencies", "x\nWants=y\0"s, badText},
    };
    const std::string before = files();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        ServiceFolder& folder = make("agent");
        folder.set(c.file, c.value);
        EXPECT_EQ(1, act("install", folder));
        EXPECT_EQ(before, files());
        const std::vector<std::string> records = linesOf(folder.get("install.log"));
        ASSERT_EQ(1U, records.size());
        EXPECT_THAT(records[0], AllOf(HasSubstr(" 3 "), HasSubstr(c.reason)));
        folder.set("kept", "no");
    }
}

TEST_F(Systemd, isDoneWithEachOfManyStarts) {
    ServiceFolder& folder = install("agent");
    addToUnit("agent.service", "[Unit]\nStartLimitIntervalSec=0");
    for (int i = 0; i < 50; ++i) {
        folder.set("events");
        ASSERT_EQ(0, start("agent")) << i;
        ASSERT_EQ(0, stop("agent")) << i;
        ASSERT_THAT(folder.events(), ElementsAre("startIt()", "stopIt()", "start() gave true"));
    }
    const std::vector<std::string> resources = linesOf(folder.get("resources"));
    ASSERT_EQ(50U, resources.size());
    long firstThreads = 0, firstDescriptors = 0;
    std::istringstream(resources.front()) >> firstThreads >> firstDescriptors;
    for (const std::string& line : resources) {
        long threads = 0, descriptors = 0;
        std::istringstream(line) >> threads >> descriptors;
        // Those that brought it up may still be ending, and the timers' thread comes and goes.
        EXPECT_LE(std::abs(threads - firstThreads), 3) << line;
        EXPECT_EQ(firstDescriptors, descriptors) << line;
    }
}

// Longer than systemd waits for a start of which it hears nothing.
using SystemdLong = Systemd;
TEST_F(SystemdLong, waitsForAStartThatTakesTwoMinutes) {
    ServiceFolder& folder = install("agent");
    folder.set("start-seconds", "120");
    EXPECT_EQ("1min 30s", property("agent", "TimeoutStartUSec"));
    EXPECT_EQ(0, start("agent"));
    EXPECT_EQ("active/running", state("agent"));
}
