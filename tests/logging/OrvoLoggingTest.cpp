// Levels, areas, targets, the line and the instance.
#include "OrvoLogging.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <memory>
#include <thread>

#include "OrvoDateTime.h"
#include "logging/LogFixture.h"
#include "support/ChildProcess.h"

using namespace OrvoSupport;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;
using testing_support::ChildProcess;
using testing_support::readFile;
using testing_support::TempFolder;
using testing_support::writeFile;

class OrvoLoggingTest : public PlainLogFixture {};
class OrvoLoggingLineTest : public LogFixture {};

namespace {

// The part of a prefix behind the date, and the text.
string behindTheTime(const string& line) { return line.size() < 18 ? line : line.substr(18); }

string bracketed(int number) { return "[" + std::to_string(number) + "] "; }

}  // namespace

// The instance.

TEST(OrvoLoggingInstanceTest, isNoneUntilOneIsSetAndAfterItHasGone) {
    EXPECT_FALSE(OrvoLogging::isAccessAllowed());
    {
        OrvoLogging logger("unused", OrvoLogging::consoleTarget, 0);
        EXPECT_FALSE(OrvoLogging::isAccessAllowed());
        OrvoLogging::setInstance(logger);
        EXPECT_TRUE(OrvoLogging::isAccessAllowed());
        EXPECT_EQ(&logger, &OrvoLogging::getInstance());
    }
    EXPECT_FALSE(OrvoLogging::isAccessAllowed());
}

TEST(OrvoLoggingInstanceTest, staysWhenAnotherLoggerGoes) {
    OrvoLogging logger("unused", OrvoLogging::consoleTarget, 9);
    OrvoLogging::setInstance(logger);
    { OrvoLogging other("unused", OrvoLogging::consoleTarget, 9); }
    EXPECT_EQ(&logger, &OrvoLogging::getInstance());
}

TEST(OrvoLoggingInstanceTest, allowsNoAccessAtLevelMinusOne) {
    OrvoLogging logger;
    OrvoLogging::setInstance(logger);
    EXPECT_FALSE(OrvoLogging::isAccessAllowed());
    logger.setLogLevel(0);
    EXPECT_TRUE(OrvoLogging::isAccessAllowed());
}

// Levels.

TEST(OrvoLoggingDefaultTest, writesNothingUntilItHasALevelAndThenToStandardOutput) {
    OrvoLogging logger;
    EXPECT_EQ(-1, logger.getLogLevel());
    EXPECT_EQ(2, logger.getTarget());

    CaptureStdout();
    logger << setloglevel(0) << "a" << endrecord << setloglevel(-1) << "b" << endrecord;
    EXPECT_EQ("", GetCapturedStdout());

    logger.setLogLevel(5);
    CaptureStdout();
    logger << setloglevel(3) << "c" << endrecord << "d" << endrecord;
    EXPECT_EQ(" 3 Global     " + bracketed(log_system::threadId()) + "c\n", GetCapturedStdout().substr(17));
}

TEST_F(OrvoLoggingTest, ignoresLevelsOutOfRange) {
    logger.setLogLevel(4);
    for (const int level : {10, -1, -2, INT_MIN, INT_MAX}) {
        logger.setLogLevel(level);
        EXPECT_EQ(4, logger.getLogLevel());
    }
    for (const int level : {0, 9}) {
        logger.setLogLevel(level);
        EXPECT_EQ(level, logger.getLogLevel());
    }
}

TEST(OrvoLoggingConstructionTest, takesAnyLevel) {
    for (const int level : {-7, -1, 0, 9, 1000}) {
        OrvoLogging logger("unused", 0, level);
        EXPECT_EQ(level, logger.getLogLevel());
        EXPECT_EQ(0, logger.getTarget());
    }
}

TEST_F(OrvoLoggingTest, ignoresAreaLevelsOutOfRange) {
    logger.setLogLevel(7);
    logger.setLogLevel("Net", 3);
    for (const int level : {-2, 10, INT_MIN, INT_MAX}) {
        logger.setLogLevel("Net", level);
        EXPECT_EQ(3, logger.getLogLevel("Net"));
    }
    logger.setLogLevel("Net", -1);
    EXPECT_EQ(-1, logger.getLogLevel("Net"));
    EXPECT_EQ(7, logger.getLogLevel("Disk"));
    EXPECT_EQ(7, logger.getLogLevel());
}

TEST_F(OrvoLoggingTest, passesRecordsThatAreNotAboveItsLevel) {
    logger.setLogLevel(5);
    for (int level = 0; level <= 9; ++level) logger << setloglevel(level) << level << endrecord;
    EXPECT_EQ("0\n1\n2\n3\n4\n5\n", text());
}

TEST_F(OrvoLoggingTest, givesARecordLevelNineUnlessItSaysOtherwise) {
    logger.setLogLevel(8);
    logger << "dropped" << endrecord;
    logger << setloglevel(8) << "kept" << endrecord << "dropped again" << endrecord;
    logger.setLogLevel(9);
    logger << "kept too" << endrecord;
    EXPECT_EQ("kept\nkept too\n", text());
}

TEST_F(OrvoLoggingTest, takesARecordLevelOfMinusOneOrAnyAboveButNoneBelow) {
    logger << setloglevel(-2) << "still nine" << endrecord;
    logger.setLogLevel(0);
    logger << setloglevel(-1) << "minus one" << endrecord;
    logger << setloglevel(3) << setloglevel(-2) << "still three" << endrecord;
    logger << setloglevel(10) << "ten" << endrecord;
    EXPECT_EQ("still nine\nminus one\n", text());
}

TEST(OrvoLoggingConstructionTest, letsNothingPassAtLevelMinusOne) {
    CaptureStdout();
    OrvoLogging logger("unused", OrvoLogging::consoleTarget, -1);
    for (int level = -1; level <= 9; ++level) logger << setloglevel(level) << "text" << endrecord;
    EXPECT_EQ("", GetCapturedStdout());
}

TEST_F(OrvoLoggingTest, changesTheLevelInTheMiddleOfARecord) {
    logger.setLogLevel(5);
    logger << setloglevel(3) << "a" << setloglevel(7) << "b" << setloglevel(5) << "c" << endrecord;
    EXPECT_EQ("ac\n", text());
}

// Areas.

TEST_F(OrvoLoggingLineTest, dropsWhatIsAboveTheLevelOfItsAreaWhateverTheCaseOfOthers) {
    logger.setLogLevel(5);
    logger.setLogLevel("Net", 1);
    logger << setloglevel("Net", 3) << "dropped" << endrecord;
    logger << setloglevel("net", 3) << "written" << endrecord;
    ASSERT_EQ(1u, lines().size());
    EXPECT_EQ("3 net        " + bracketed(log_system::threadId()) + "written", behindTheTime(lines()[0]));
}

TEST_F(OrvoLoggingTest, isNeverLouderInAnArea) {
    logger.setLogLevel(2);
    logger.setLogLevel("Net", 9);
    logger << setloglevel("Net", 3) << "above the logger's level" << endrecord;
    logger << setloglevel("Net", 2) << "kept" << endrecord;
    EXPECT_EQ("kept\n", text());
}

TEST_F(OrvoLoggingTest, judgesTheAreaAtTheEndOfTheRecordOnly) {
    logger.setLogLevel("Net", -1);
    logger << setloglevel("Net", 3) << "a" << setloglevel("Disk", 3) << "b" << endrecord;
    logger << setloglevel("Disk", 3) << "c" << setloglevel("Net", 3) << "d" << endrecord;
    EXPECT_EQ("ab\n", text());
}

TEST_F(OrvoLoggingTest, neverLetsTheTextOfADroppedRecordShowUpLater) {
    logger.setLogLevel("Net", 1);
    logger << setloglevel("Net", 5) << "dropped" << endrecord << "kept" << endrecord;
    logger << setloglevel(9) << "opened before the level fell";
    logger.setLogLevel(3);
    logger << endrecord << setloglevel(3) << "kept too" << endrecord;
    EXPECT_EQ("kept\nkept too\n", text());
}

TEST_F(OrvoLoggingLineTest, neverDropsALevelZeroRecordByAreaAndGivesItNoPrefix) {
    logger.setLogLevel(0);
    logger.setLogLevel("Net", -1);
    logger << setloglevel("Net", 0) << "banner" << endrecord;
    EXPECT_EQ("banner\n", text());
}

TEST_F(OrvoLoggingTest, forgetsTheAreaWithTheRecord) {
    logger.setLogLevel("Net", 1);
    logger << setloglevel("Net", 3) << "dropped" << endrecord << setloglevel(3) << "kept" << endrecord;
    logger << setloglevel("Net", 3) << setloglevel(3) << "no area any more" << endrecord;
    EXPECT_EQ("kept\nno area any more\n", text());
}

// The line.

TEST_F(OrvoLoggingLineTest, beginsWithTimeLevelAreaAndThread) {
    const OrvoDateTime before;
    logger << setloglevel(2) << "Service started" << endrecord;
    const OrvoDateTime after;

    const auto stamp = [](const OrvoDateTime& time) {
        char result[64];
        std::snprintf(result, sizeof result, "%04u%02u%02u_%02u:%02u:%02u", time.getYear(), time.getMonth(),
                      time.getDay(), time.getHour(), time.getMinute(), time.getSecond());
        return string(result);
    };
    ASSERT_EQ(1u, lines().size());
    const string line = lines()[0];
    EXPECT_LE(stamp(before), line.substr(0, 17));
    EXPECT_GE(stamp(after), line.substr(0, 17));
    EXPECT_EQ(" 2 Global     " + bracketed(log_system::threadId()) + "Service started", line.substr(17));
}

TEST_F(OrvoLoggingLineTest, padsShortAreasAndKeepsLongOnesWhole) {
    struct Case {
        const char* what;
        string area;
        string expected;
    };
    const Case cases[] = {
        {"short", "Net", "Net       "},
        {"ten", "Networking", "Networking"},
        {"longer", "NetworkingAndMore", "NetworkingAndMore"},
        {"ends at a NUL", string("Ne\0t", 4), "Ne        "},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        logger << setloglevel(c.area, 2) << "x" << endrecord;
        const string expected = "2 " + c.expected + " " + bracketed(log_system::threadId()) + "x";
        EXPECT_EQ(expected, behindTheTime(lines().back()));
    }
}

TEST_F(OrvoLoggingLineTest, cutsThePrefixAfter511Characters) {
    logger << setloglevel(string(600, 'a'), 2) << "text" << endrecord;
    EXPECT_EQ(string(511 - 20, 'a') + "text", lines().at(0).substr(20));

    // Cut in the middle of the thread's number.
    logger << setloglevel(string(511 - 20 - 3, 'b'), 2) << "text" << endrecord;
    const string thread = std::to_string(log_system::threadId());
    EXPECT_EQ("b [" + thread.substr(0, 1) + "text", lines().at(1).substr(20 + 511 - 20 - 4));
}

TEST_F(OrvoLoggingTest, holdsTheTextOnlyWithoutRecordData) {
    logger << setloglevel("Net", 2) << "text" << endrecord;
    EXPECT_EQ("text\n", text());
    logger.enableRecordData(true);
    logger << setloglevel("Net", 2) << "text" << endrecord;
    EXPECT_EQ("2 Net        " + bracketed(log_system::threadId()) + "text", behindTheTime(lines()[1]));
}

TEST_F(OrvoLoggingLineTest, writesNothingForARecordWithoutText) {
    logger << endrecord;
    logger << setloglevel(3) << "" << string() << endrecord;
    logger.setLogLevel(3);
    logger << setloglevel(5) << "refused" << 5 << endrecord;
    EXPECT_EQ("", text());
}

TEST_F(OrvoLoggingTest, endsTheLineAsTextFilesOfTheSystemDo) {
    logger << "one\ntwo" << endrecord << "cr\rlf\r\n" << endrecord;
    const string end = log_system::lineEnd;
    EXPECT_EQ("one" + end + "two" + end + "cr\rlf\r" + end + end, readFile(path));
}

TEST_F(OrvoLoggingTest, takesAnyByteAndEndsTheTextAtANul) {
    string bytes;
    for (int c = 255; c >= 1; --c)
        if (c != '\n') bytes += static_cast<char>(c);
    logger << bytes << "%s%n%d" << endrecord;
    logger << string("cut\0lost", 8) << "lost too" << endrecord;
    EXPECT_EQ(bytes + "%s%n%d\ncut\n", text());
}

TEST_F(OrvoLoggingLineTest, givesATextThatBeginsWithANulALineOfItsOwn) {
    logger << string("\0lost", 5) << endrecord;
    EXPECT_EQ("9 Global     " + bracketed(log_system::threadId()), behindTheTime(lines().at(0)));
}

TEST_F(OrvoLoggingTest, writesTextsOfAnyLength) {
    const string longText(3 * 1024 * 1024, 'x');
    logger << longText << endrecord << "short" << endrecord;
    EXPECT_TRUE(text() == longText + "\nshort\n");
}

// The targets.

TEST_F(OrvoLoggingTest, writesTheSameToFileAndStandardOutput) {
    logger.setTarget(OrvoLogging::fileTarget | OrvoLogging::consoleTarget);
    CaptureStdout();
    logger << "both" << endrecord;
    EXPECT_EQ("both\n", GetCapturedStdout());
    EXPECT_EQ("both\n", text());
}

TEST_F(OrvoLoggingTest, keepsUnknownTargetBitsAndWritesNowhereWithoutAKnownOne) {
    logger.setTarget(4);
    EXPECT_EQ(4, logger.getTarget());
    CaptureStdout();
    logger << "nowhere" << endrecord;
    EXPECT_EQ("", GetCapturedStdout());
    EXPECT_EQ("", text());
    logger.setTarget(-1);
    EXPECT_EQ(-1, logger.getTarget());
}

TEST_F(OrvoLoggingTest, emptiesTheFileAtEveryOpening) {
    logger << "first" << endrecord;
    logger.setTarget(0);
    EXPECT_EQ("first\n", text());
    EXPECT_FALSE(log_system::isOpenAnywhere(path));
    logger << "nowhere" << endrecord;
    logger.setTarget(OrvoLogging::fileTarget);
    EXPECT_EQ("", text());
    logger << "second" << endrecord;
    EXPECT_EQ("second\n", text());
}

TEST_F(OrvoLoggingTest, keepsTheFileOpenWhenOnlyOtherTargetsChange) {
    logger << "one" << endrecord;
    logger.setTarget(OrvoLogging::fileTarget);
    logger.setTarget(OrvoLogging::fileTarget | 8);
    logger << "two" << endrecord;
    EXPECT_EQ("one\ntwo\n", text());
}

TEST(OrvoLoggingTargetTest, emptiesAnOldFileWhenTheFileTargetIsAdded) {
    TempFolder folder;
    writeFile(folder.file("agent.log"), "old");
    OrvoLogging logger(folder.file("agent"), OrvoLogging::consoleTarget, 9);
    EXPECT_EQ("old", readFile(folder.file("agent.log")));
    logger.setTarget(OrvoLogging::fileTarget | OrvoLogging::consoleTarget);
    EXPECT_EQ("", readFile(folder.file("agent.log")));
}

TEST(OrvoLoggingTargetTest, closesTheFileWithTheLogger) {
    TempFolder folder;
    { OrvoLogging logger(folder.file("agent"), OrvoLogging::fileTarget, 9); }
    EXPECT_FALSE(log_system::isOpenAnywhere(folder.file("agent.log")));
}

TEST_F(OrvoLoggingTest, sharesTheFileWithReadersAndWriters) {
    logger << "text" << endrecord;
    EXPECT_EQ("text\n", text());
    OrvoLogging other(folder.file("agent"), OrvoLogging::fileTarget, 9);
    EXPECT_EQ("", text());
}

namespace {

class NotedLogger : public OrvoLogging {
public:
    using OrvoLogging::OrvoLogging;
    string calls;

protected:
    void startLogging() override { calls += "start at " + std::to_string(getTarget()) + "; "; }
    void stopLogging(int target) override {
        calls += "stop(" + std::to_string(target) + ") at " + std::to_string(getTarget()) + "; ";
    }
};

}  // namespace

TEST(OrvoLoggingTargetTest, stopsSetsAndStartsWhenTheTargetDiffers) {
    NotedLogger logger("unused", 0, 9);
    logger.setTarget(0);
    EXPECT_EQ("", logger.calls);
    logger.setTarget(4);
    EXPECT_EQ("stop(4) at 0; start at 4; ", logger.calls);
}

// The file.

TEST(OrvoLoggingFileTest, replacesTheExtensionAndDropsAQuote) {
    struct Case {
        const char* what;
        const char* name;  // behind the folder
        bool quoted;
        const char* expected;
    };
    const Case cases[] = {
        {"extension", "/agent.cfg", false, "/agent.log"},
        {"none", "/trace", false, "/trace.log"},
        {"quoted", "/x y/../svc.exe\"", true, "/x y/../svc.log"},
        {"two dots", "/agent.1.cfg", false, "/agent.1.log"},
        {"dot at the end", "/agent.", false, "/agent.log"},
        {"dot in a folder's name only", "/a.b/log", false, "/a.log"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        TempFolder folder;
        const string name = (c.quoted ? "\"" : "") + folder.path() + c.name;
        CaptureStderr();
        OrvoLogging logger(name, OrvoLogging::fileTarget, 9);
        EXPECT_THAT(GetCapturedStderr(), testing::StartsWith("OrvoLogging: Opening " + folder.path() +
                                                             c.expected + " for logging...\n"));
    }
}

TEST(OrvoLoggingFileTest, tellsThatItCannotOpenTheFileAndGoesOn) {
    TempFolder folder;
    const string name = folder.file("missing/agent");
    CaptureStderr();
    OrvoLogging logger(name, OrvoLogging::fileTarget | OrvoLogging::consoleTarget, 9);
    EXPECT_EQ("OrvoLogging: Opening " + name + ".log for logging...\n" +
                  "OrvoLogging: Cannot open log file " + name + ".log (" + std::to_string(ENOENT) + ")\n",
              GetCapturedStderr());

    logger.enableRecordData(false);
    CaptureStdout();
    logger << "to standard output" << endrecord;
    EXPECT_EQ("to standard output\n", GetCapturedStdout());
}

TEST_F(OrvoLoggingTest, doesNotOpenAnOpenFile) {
    logger << "text" << endrecord;
    CaptureStderr();
    logger.openLogFile();
    EXPECT_EQ("", GetCapturedStderr());
    EXPECT_EQ("text\n", text());
}

OSUPT_CHILD(idleProcess) {
    std::printf("started\n");
    std::fflush(stdout);
    for (;;) std::this_thread::sleep_for(std::chrono::seconds(1));
}

TEST(OrvoLoggingFileTest, isNotInheritedByChildProcesses) {
    TempFolder folder;
    auto logger = std::make_unique<OrvoLogging>(folder.file("agent"), OrvoLogging::fileTarget, 9);
    ChildProcess child("idleProcess");
    while (child.running() && child.output().empty()) std::this_thread::yield();
    logger.reset();
    EXPECT_TRUE(child.running());
    EXPECT_FALSE(log_system::isOpenAnywhere(folder.file("agent.log")));
}

OSUPT_CHILD(logsThreeAndWaits) {
    OrvoLogging logger(arguments[0], OrvoLogging::fileTarget, 9);
    logger.enableRecordData(false);
    logger << 1 << endrecord << 2 << endrecord << 3 << endrecord << "open";
    std::printf("written\n");
    std::fflush(stdout);
    for (;;) std::this_thread::sleep_for(std::chrono::seconds(1));
}

TEST(OrvoLoggingFileTest, keepsEveryEndedRecordWhenTheProcessIsKilled) {
    TempFolder folder;
    ChildProcess child("logsThreeAndWaits", {folder.file("agent")});
    while (child.running() && child.output().find("written") == string::npos) std::this_thread::yield();
    child.kill();
    child.wait();
    const string end = log_system::lineEnd;
    EXPECT_EQ("1" + end + "2" + end + "3" + end, readFile(folder.file("agent.log")));
}

OSUPT_CHILD(printsAroundARecord) {
    OrvoLogging logger("unused", OrvoLogging::consoleTarget, 9);
    logger.enableRecordData(false);
    std::printf("before\n");
    logger << "record" << endrecord;
    std::printf("after\n");
    return 0;
}

TEST(OrvoLoggingConsoleTest, keepsTheOrderOfWhatTheHostPrints) {
    ChildProcess child("printsAroundARecord");
    EXPECT_EQ(0, child.wait());
    const string end = log_system::lineEnd;
    EXPECT_EQ("before" + end + "record" + end + "after" + end, child.output());
}

OSUPT_CHILD(closesStandardOutput) {
    log_system::closeStandardOutput();
    OrvoLogging logger(arguments[0], OrvoLogging::fileTarget | OrvoLogging::consoleTarget, 9);
    logger.enableRecordData(false);
    for (int i = 0; i < 3; ++i) logger << i << endrecord;
    return 0;
}

TEST(OrvoLoggingConsoleTest, doesNotTouchTheFileTargetWhenItIsClosed) {
    TempFolder folder;
    ChildProcess child("closesStandardOutput", {folder.file("agent")});
    EXPECT_EQ(0, child.wait());
    const string end = log_system::lineEnd;
    EXPECT_EQ("0" + end + "1" + end + "2" + end, readFile(folder.file("agent.log")));
}

namespace {

OrvoLogging* lastWords = nullptr;

struct LateWriter {
    ~LateWriter() {
        if (lastWords) *lastWords << "from a static destructor" << endrecord;
    }
} lateWriter;

}  // namespace

OSUPT_CHILD(logsFromAStaticDestructor) {
    lastWords = new OrvoLogging("unused", OrvoLogging::consoleTarget, 9);
    lastWords->enableRecordData(false);
    return 0;
}

TEST(OrvoLoggingConsoleTest, writesFromStaticDestructorsOfTheHost) {
    ChildProcess child("logsFromAStaticDestructor");
    EXPECT_EQ(0, child.wait());
    EXPECT_EQ(string("from a static destructor") + log_system::lineEnd, child.output());
}
