// A record from its first piece to its end: what stays as it was, what is forgotten, and when things count.
#include <climits>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <vector>

#include "logging/LogFixture.h"
#include "logging/Trace.h"

using namespace OrvoSupport;
using testing::ElementsAre;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace {

// What follows the date: level, area, thread.
string prefix(const string& level, const string& area) {
    return level + " " + area + " [" + std::to_string(log_system::threadId()) + "] ";
}

const string global = "Global    ";

}  // namespace

class RecordLifeTest : public LogFixture {
protected:
    std::vector<string> linesBehindTheDate() const {
        std::vector<string> result = lines();
        for (string& line : result) line.erase(0, 18);
        return result;
    }
};

class PlainRecordLifeTest : public PlainLogFixture {};

// ---- Level and area

TEST_F(RecordLifeTest, showsLevelsOutsideZeroToNineAsTheyAre) {
    logger << setloglevel(-1) << "minus one" << endrecord;
    OpenLogger loud(folder.file("loud"), OrvoLogging::fileTarget, INT_MAX);
    loud << setloglevel(15) << "fifteen" << endrecord << setloglevel(INT_MAX) << "highest" << endrecord;
    EXPECT_THAT(linesBehindTheDate(), ElementsAre(prefix("-1", global) + "minus one"));
    const string text = testing_support::readFile(folder.file("loud.log"));
    EXPECT_THAT(text, testing::HasSubstr(prefix("15", global) + "fifteen"));
    EXPECT_THAT(text, testing::HasSubstr(prefix("2147483647", global) + "highest"));
}

TEST_F(RecordLifeTest, takesTheLevelAndAreaThatStandAtItsEnd) {
    logger << setloglevel("Net", 3) << "a" << setloglevel("Disk", 4) << "b" << endrecord;
    logger << "c" << setloglevel("Late", 2) << endrecord;
    logger << "d" << setloglevel("Net", 0) << endrecord;
    EXPECT_EQ("d", lines().back());
    const std::vector<string> all = linesBehindTheDate();
    ASSERT_EQ(3u, all.size());
    EXPECT_EQ(prefix("4", "Disk      ") + "ab", all[0]);
    EXPECT_EQ(prefix("2", "Late      ") + "c", all[1]);
}

TEST_F(RecordLifeTest, isTurnedIntoARecordWithoutAreaByALevelAlone) {
    logger.setCurrentLevel("Net", 3);
    logger.setCurrentLevel(4);
    logger << "text" << endrecord;
    EXPECT_THAT(linesBehindTheDate(), ElementsAre(prefix("4", global) + "text"));
}

TEST_F(RecordLifeTest, keepsLevelAndAreaWhenALevelIsRefused) {
    logger.setCurrentLevel("Net", 3);
    for (const int level : {-2, INT_MIN}) logger.setCurrentLevel("Disk", level);
    logger << "text" << endrecord;
    EXPECT_THAT(linesBehindTheDate(), ElementsAre(prefix("3", "Net       ") + "text"));
}

TEST_F(RecordLifeTest, forgetsLevelAndAreaWithAnEndThatFoundNoText) {
    logger << setloglevel("Net", 3) << endrecord;
    logger << "text" << endrecord << endrecord << endrecord;
    EXPECT_THAT(linesBehindTheDate(), ElementsAre(prefix("9", global) + "text"));
}

TEST_F(PlainRecordLifeTest, ofLevelMinusOneDoesNotPassAnAreaThatIsOff) {
    logger.setLogLevel("Net", -1);
    logger << setloglevel("Net", -1) << "dropped" << endrecord;
    logger.setLogLevel("Net", 0);
    logger << setloglevel("Net", -1) << "kept" << endrecord;
    EXPECT_EQ("kept\n", text());
}

TEST_F(RecordLifeTest, writesPercentSignsOfAreasAndTextsAsTheyAre) {
    logger << setloglevel("%s%n%d%%", 3) << "100%s" << '%' << "%n" << endrecord;
    EXPECT_THAT(linesBehindTheDate(), ElementsAre(prefix("3", "%s%n%d%%  ") + "100%s%%n"));
}

// ---- What its end looks at

TEST_F(PlainRecordLifeTest, goesToTheTargetsOfItsEnd) {
    logger << "one";
    logger.setTarget(0);
    logger << " nowhere" << endrecord;
    logger << "two";
    logger.setTarget(OrvoLogging::fileTarget);
    logger << " in the file" << endrecord;
    EXPECT_EQ("two in the file\n", text());
}

TEST_F(PlainRecordLifeTest, hasItsPrefixIfLinesHaveOneAtItsEnd) {
    logger << setloglevel(3) << "with";
    logger.enableRecordData(true);
    logger << endrecord;
    EXPECT_EQ(prefix("3", global) + "with\n", text().substr(18));
}

TEST_F(PlainRecordLifeTest, passesWithPiecesTakenBeforeTheLevelRose) {
    logger.setLogLevel(3);
    logger << setloglevel(5) << "refused ";
    logger.setLogLevel(5);
    logger << "taken" << endrecord;
    EXPECT_EQ("taken\n", text());
}

// ---- Records within records

TEST_F(RecordLifeTest, isContinuedAndEndedByARecordOfTheLibraryInsideIt) {
    OrvoLogging::setInstance(logger);
    logger << setloglevel("Net", 3) << "host, ";
    trace(7, "library");
    logger << "rest" << endrecord;
    EXPECT_THAT(linesBehindTheDate(),
                ElementsAre(prefix("7", global) + "host, library", prefix("9", global) + "rest"));
}

TEST_F(RecordLifeTest, isLeftAloneByARefusedRecordOfTheLibrary) {
    OrvoLogging::setInstance(logger);
    logger.setLogLevel(5);
    logger << setloglevel("Net", 3) << "host, ";
    trace(7, "library");
    logger << "rest" << endrecord;
    EXPECT_THAT(linesBehindTheDate(), ElementsAre(prefix("3", "Net       ") + "host, rest"));
}

TEST_F(PlainRecordLifeTest, ofOneLoggerKnowsNothingOfAnother) {
    OpenLogger other(folder.file("other"), OrvoLogging::fileTarget, 9);
    other.enableRecordData(false);
    logger << "a" << 1;
    other << "b" << 2 << endrecord;
    logger << 'c' << 3.0 << endrecord;
    EXPECT_EQ("a1c3.000000\n", text());
    EXPECT_EQ(string("b2") + log_system::lineEnd, testing_support::readFile(folder.file("other.log")));
}

// ---- The file's name

TEST(LogFileNameTest, isMadeOfWhateverThereIs) {
    struct Case {
        const char* name;
        const char* expected;
    };
    const Case cases[] = {
        {"", ".log"},           {".", ".log"},
        {"\"", ".log"},         {"\"a\"", "a\".log"},
        {"a\".txt", "a\".log"}, {"\"\"a.b\"", "\"a.log"},
        {"a.b.c", "a.b.log"},   {"a.log.log", "a.log.log"},
    };
    testing_support::TempFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CaptureStderr();
        OpenLogger logger(c.name, OrvoLogging::fileTarget, 9);
        EXPECT_THAT(GetCapturedStderr(),
                    testing::StartsWith(string("OrvoLogging: Opening ") + c.expected + " for logging...\n"));
    }
    EXPECT_TRUE(std::filesystem::exists(".log"));
    EXPECT_TRUE(std::filesystem::exists("a.b.log"));
    std::filesystem::current_path(before);
}

// ---- Virtual operations

namespace {

struct OwnTargets : OrvoLogging {
    using OrvoLogging::OrvoLogging;
    int calls = 0;
    void startLogging() override { ++calls; }
    void stopLogging(int) override { ++calls; }

    // A pointer to a virtual member starts with one plus the offset of its slot.
    template <class Member>
    static std::ptrdiff_t slot(Member member) {
        std::ptrdiff_t offset = 0;
        std::memcpy(&offset, &member, sizeof offset);
        return (offset - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
    }
    static std::vector<std::ptrdiff_t> slots() {
        return {slot(&OwnTargets::handleNotification), slot(&OwnTargets::startLogging),
                slot(&OwnTargets::stopLogging)};
    }
};

}  // namespace

TEST(OrvoLoggingVirtualsTest, opensAndClosesItsFileItselfAtBothEndsOfItsLife) {
    testing_support::TempFolder folder;
    {
        OwnTargets logger(folder.file("agent"), OrvoLogging::fileTarget, 9);
        EXPECT_TRUE(log_system::isOpenAnywhere(folder.file("agent.log")));
        EXPECT_EQ(0, logger.calls);
    }
    EXPECT_FALSE(log_system::isOpenAnywhere(folder.file("agent.log")));
}

// Hosts built earlier rely on it.
TEST(OrvoLoggingVirtualsTest, standInOrderBehindTheDestructor) {
    EXPECT_THAT(OwnTargets::slots(), ElementsAre(2, 3, 4));
}
