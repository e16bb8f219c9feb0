// The library and a busy host of it are unloaded, or their process ends, whatever they are doing.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "core/BusyHost.h"
#include "core/QuickExit.h"
#include "support/ChildProcess.h"
#include "support/Plugin.h"
#include "support/TempFolder.h"

namespace {

using testing_support::ChildProcess;
using testing_support::isLoaded;
using testing_support::Plugin;
using testing_support::Resources;
using testing_support::resourcesInUse;
using testing_support::resourcesOnceThreadsHaveEnded;
using testing_support::TempFolder;

constexpr unsigned everyRound = sleepingTimer | firingTimers | computingThread | throwawayThreads;
constexpr int objects = 3;  // of a host and of its factory's making

// Never destroyed itself, so that they are no leak to the sanitizer.
std::vector<void*>& keptObjects = *new std::vector<void*>;
void keep(void* object) { keptObjects.push_back(object); }

/// Loads host and library, lets the host begin, and unloads both.
void comeAndGo(const std::string& file, unsigned tasks, BusyHostReport& report) {
    report.keep = keep;
    {
        const Plugin host("BusyHost");
        ASSERT_TRUE(host.loaded());
        auto* const begin = host.function<BusyHostBegin>("beginBusyHost");
        ASSERT_TRUE(begin);
        ASSERT_EQ(0, begin(file.c_str(), tasks, &report));
    }
    ASSERT_FALSE(isLoaded("osupt"));
    EXPECT_EQ(objects, report.objectsReleased);
    EXPECT_EQ(report.handlersEntered, report.handlersLeft);
    EXPECT_EQ(0, report.failures);
}

OSUPT_CHILD(unloadsABusyHost) {
    static BusyHostReport report;
    comeAndGo(arguments.at(0), static_cast<unsigned>(std::stoul(arguments.at(1))), report);
    return testing::Test::HasFailure() ? 1 : 7;
}

TEST(TearDownTest, theLibraryGoesInEveryState) {
    const TempFolder folder;
    std::vector<unsigned> states{0, everyRound};
    for (unsigned task = 1; task <= killedThread; task *= 2)
        if (task != suspendedThread) states.push_back(task);  // it would stand in what is gone
    for (const unsigned tasks : states) {
        ChildProcess child("unloadsABusyHost", {folder.file("host"), std::to_string(tasks)});
        EXPECT_EQ(7, child.wait()) << tasks << ": " << child.output();
    }
}

TEST(TearDownTest, aBusyHostComesAndGoesAgainAndAgain) {
    const TempFolder folder;
    const int warmUp = OSUPT_TEST_ROUNDS / 10;
    Resources before;
    for (int i = 0; i < warmUp + OSUPT_TEST_ROUNDS; ++i) {
        if (i == warmUp) before = resourcesInUse();
        unsigned tasks = everyRound;
        if (i % 3 == 0) tasks |= openRecord;
        if (i % 3 == 1) tasks |= freshThread;
        if (i % 25 == 0) tasks |= recordTimeout;
        BusyHostReport report;
        comeAndGo(folder.file("host"), tasks, report);
        ASSERT_FALSE(HasFailure()) << "round " << i;
    }
    const Resources after = resourcesOnceThreadsHaveEnded(before.threads);
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.handles, before.handles + 4);
    EXPECT_LE(after.mappings, before.mappings + 64);            // sanitizers keep books of their own
    EXPECT_LE(after.kilobytes, before.kilobytes + 320 * 1024);  // and hold 256 MB of freed memory back
    EXPECT_LE(after.heapBytes, before.heapBytes + 32 * 1024);
}

TEST(TearDownTest, leakedTimersFireNoMore) {
    const TempFolder folder;
    for (int i = 0; i < OSUPT_TEST_ROUNDS / 10; ++i) {
        BusyHostReport report;
        comeAndGo(folder.file("host"), everyRound | leakedTimers, report);
        ASSERT_FALSE(HasFailure()) << "round " << i;
    }
}

TEST(TearDownTest, aHandlerUnderWayIsWaitedFor) {
    const TempFolder folder;
    for (int i = 0; i < 5; ++i) {
        BusyHostReport report;
        comeAndGo(folder.file("host"), slowHandler, report);
        EXPECT_EQ(1, report.handlersLeft);
    }
}

TEST(TearDownTest, theHostsLastRecordsAreWritten) {
    const TempFolder folder;
    BusyHostReport report;
    comeAndGo(folder.file("host"), sleepingTimer, report);
    const std::string log = testing_support::readFile(folder.file("host.log"));
    EXPECT_NE(std::string::npos, log.find("begin of the host"));
    EXPECT_NE(std::string::npos, log.find("end of the host"));
}

/// Everything it left is dealt with when the process ends.
OSUPT_CHILD(endsWithABusyHost) {
    static BusyHostReport report;
    report.keep = keep;
    static Plugin* const host = new Plugin("BusyHost");  // is never unloaded
    auto* const begin = host->function<BusyHostBegin>("beginBusyHost");
    const auto tasks = static_cast<unsigned>(std::stoul(arguments.at(1)));
    if (!begin || begin(arguments.at(0).c_str(), tasks, &report) != 0) return 1;
    if (arguments.at(2) == "exit") std::exit(7);
    if (arguments.at(2) == "_Exit") std::_Exit(7);
    if (arguments.at(2) == "quick") exitQuickly(7);
    return 7;
}

TEST(TearDownTest, theProcessEndsInEveryState) {
    const TempFolder folder;
    std::vector<unsigned> states{0, everyRound,
                                 everyRound | freshThread | slowHandler | leakedTimers | recordTimeout};
    for (unsigned task = 1; task <= killedThread; task *= 2) states.push_back(task);
    for (const unsigned tasks : states) {
        ChildProcess child("endsWithABusyHost", {folder.file("host"), std::to_string(tasks), "return"});
        EXPECT_EQ(7, child.wait()) << tasks << ": " << child.output();
    }
}

TEST(TearDownTest, theProcessEndsInEveryWay) {
    const TempFolder folder;
    for (const char* way : {"exit", "_Exit", "quick"}) {
        const unsigned tasks = everyRound | leakedTimers | openRecord;
        ChildProcess child("endsWithABusyHost", {folder.file("host"), std::to_string(tasks), way});
        EXPECT_EQ(7, child.wait()) << way << ": " << child.output();
    }
}

}  // namespace
