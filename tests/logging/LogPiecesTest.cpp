// What each kind of piece appends, and the manipulators.
#include <climits>
#include <cmath>
#include <limits>
#include <locale>
#include <memory>

#include "OrvoLocaleFactory.h"
#include "OrvoStringUtilities.h"
#include "logging/LogFixture.h"

using namespace OrvoSupport;

class LogPiecesTest : public PlainLogFixture {
protected:
    /// The line that a piece makes.
    template <class Piece>
    string line(const Piece& piece) {
        logger << piece << endrecord;
        return lines().empty() ? "" : lines().back();
    }
};

TEST_F(LogPiecesTest, takeTextAsItIs) {
    EXPECT_EQ("chars", line("chars"));
    EXPECT_EQ("string", line(string("string")));
    EXPECT_EQ("MiXed", line(string_ci("MiXed")));
    const char* const nothing = nullptr;
    logger << "a" << nothing << "b" << endrecord;
    EXPECT_EQ("ab", lines().back());
}

TEST_F(LogPiecesTest, narrowWideTextWithTheDefaultLocale) {
    EXPECT_EQ("wide", line(wstring(L"wide")));
    EXPECT_EQ("WiDe", line(wstring_ci(L"WiDe")));
    const wstring foreign = L"a\u4e2d\u00e4b";
    const string expected = OrvoStringUtilities::narrow(foreign, OrvoLocaleFactory::getDefaultLocale());
    EXPECT_EQ(expected, line(foreign));
    EXPECT_EQ(expected, line(wstring_ci(foreign.data(), foreign.size())));
}

TEST_F(LogPiecesTest, cutWideTextAtItsFirstNulAndGoOn) {
    logger << wstring(L"ab\0cd", 5) << "e" << endrecord;
    EXPECT_EQ("abe\n", text());
}

TEST_F(LogPiecesTest, takeCharactersButNoNul) {
    EXPECT_EQ("%", line('%'));
    EXPECT_EQ("\xe4", line('\xe4'));
    logger << 'a' << '\0' << 'b' << endrecord;
    EXPECT_EQ("ab", lines().back());
    logger << '\0' << endrecord;
    EXPECT_EQ(3u, lines().size());
}

TEST_F(LogPiecesTest, formatIntegersOfEverySize) {
    EXPECT_EQ("-32768", line(static_cast<short>(SHRT_MIN)));
    EXPECT_EQ("65535", line(static_cast<unsigned short>(USHRT_MAX)));
    EXPECT_EQ("-2147483648", line(INT_MIN));
    EXPECT_EQ("4294967295", line(UINT_MAX));
    EXPECT_EQ(std::to_string(LONG_MIN), line(LONG_MIN));
    EXPECT_EQ(std::to_string(ULONG_MAX), line(ULONG_MAX));
    EXPECT_EQ("-9223372036854775808", line(LLONG_MIN));
    EXPECT_EQ("9223372036854775807", line(LLONG_MAX));
    EXPECT_EQ("0", line(0));
}

namespace {

struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

}  // namespace

TEST(LogPiecesLocaleTest, groupOnly64BitIntegersAsTheLocaleOfTheConstructionDoes) {
    testing_support::TempFolder folder;
    const std::locale before = std::locale::global(std::locale(std::locale(), new Grouping));
    OrvoLogging logger(folder.file("agent"), OrvoLogging::fileTarget, 9);
    std::locale::global(before);

    logger.enableRecordData(false);
    logger << -1234567LL << ' ' << 1234567 << ' ' << 1234567L << endrecord;
    EXPECT_EQ("-1.234.567 1234567 1234567",
              testing_support::readFile(folder.file("agent.log")).substr(0, 26));
}

TEST_F(LogPiecesTest, formatFloatingPointWithSixDecimals) {
    EXPECT_EQ("1.500000", line(1.5f));
    EXPECT_EQ("0.100000", line(0.1));
    EXPECT_EQ("-0.000000", line(-0.0));
    EXPECT_EQ("1000000000000.125000", line(1e12 + 0.125));
    const string greatest = line(-std::numeric_limits<double>::max());
    EXPECT_EQ(317u, greatest.size());
    EXPECT_EQ("-179769313486231", greatest.substr(0, 16));
}

TEST_F(LogPiecesTest, formatPointersAsTheCLibraryDoes) {
    int object = 0;
    const void* const nothing = nullptr;
    EXPECT_EQ(log_system::pointerText(&object), line(static_cast<const void*>(&object)));
    EXPECT_EQ(log_system::pointerText(&object), line(&object));
    EXPECT_EQ(log_system::pointerText(nothing), line(nothing));
}

TEST_F(LogPiecesTest, spellTruthValues) {
    EXPECT_EQ("true", line(true));
    EXPECT_EQ("false", line(false));
}

namespace {

OrvoLogging& twice(OrvoLogging& logger) {
    return logger << "2"
                  << "2";
}

const OrvoLogging* remembered = nullptr;

OrvoLogging& remember(OrvoLogging& logger) {
    remembered = &logger;
    return logger;
}

OrvoLogging& shout(OrvoLogging& logger, const string& area, int level) {
    return logger << area << "!" << level;
}

}  // namespace

TEST_F(LogPiecesTest, callFunctionsWithTheLoggerWhateverTheLevel) {
    logger << "1" << twice << "3" << endrecord;
    EXPECT_EQ("1223\n", text());
    logger.setLogLevel(0);
    logger << remember;
    EXPECT_EQ(&logger, remembered);
}

TEST_F(LogPiecesTest, manipulatorsAreValuesThatCallTheirFunction) {
    const OrvoSetLogLevelManipulator own(shout, "Net", 4);
    const OrvoSetLogLevelManipulator copy = own;
    logger << copy << endrecord;
    EXPECT_EQ("Net!4\n", text());

    OrvoSetLogLevelManipulator assigned = setloglevel(3);
    assigned = setloglevel("Net", 0);
    logger.setLogLevel(0);
    EXPECT_EQ(&logger, &(static_cast<OrvoLogging&>(logger) << assigned));
    endrecord(logger << "level zero");
    EXPECT_EQ("Net!4\nlevel zero\n", text());
}

TEST_F(LogPiecesTest, keepTheLockOncePerAcceptedPieceUntilTheRecordEnds) {
    EXPECT_TRUE(logger.getLogAccess());
    EXPECT_TRUE(logger.getLogAccess());
    logger.setLogLevel(5);
    EXPECT_FALSE(logger.getLogAccess());
    logger.setLogLevel(9);
    logger << "text";
    logger.endrecord();
    EXPECT_EQ("text\n", text());
}
