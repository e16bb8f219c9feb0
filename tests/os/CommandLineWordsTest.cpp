// The word of the program, which other rules hold for than for its arguments; those are tested with programs.
#include "os/CommandLineWords.h"

#include <gmock/gmock.h>

using OrvoSupport::commandLineWords;
using testing::ElementsAre;

TEST(CommandLineWords, beginsWithTheProgram) {
    EXPECT_THAT(commandLineWords("prog a b"), ElementsAre("prog", "a", "b"));
    EXPECT_THAT(commandLineWords("prog"), ElementsAre("prog"));
    EXPECT_THAT(commandLineWords("prog\ta"), ElementsAre("prog", "a"));
}

TEST(CommandLineWords, takesBlanksIntoAQuotedProgram) {
    EXPECT_THAT(commandLineWords("\"/opt/my tools/x\" a"), ElementsAre("/opt/my tools/x", "a"));
    EXPECT_THAT(commandLineWords("/opt/\"my tools\"/x a"), ElementsAre("/opt/my tools/x", "a"));
    EXPECT_THAT(commandLineWords("\"/opt/my tools"), ElementsAre("/opt/my tools"));
}

TEST(CommandLineWords, knowsNoEscapesInTheProgram) {
    EXPECT_THAT(commandLineWords("c:\\dir\\\"a b\" c"), ElementsAre("c:\\dir\\a b", "c"));
    EXPECT_THAT(commandLineWords("\"a\"\"b\" c"), ElementsAre("ab", "c"));
    EXPECT_THAT(commandLineWords("\"c:\\dir\\\" c"), ElementsAre("c:\\dir\\", "c"));
}

TEST(CommandLineWords, skipsBlanksInFrontOfTheProgram) {
    EXPECT_THAT(commandLineWords(" \t prog a"), ElementsAre("prog", "a"));
    EXPECT_THAT(commandLineWords("  "), ElementsAre(""));
    EXPECT_THAT(commandLineWords(""), ElementsAre(""));
}

TEST(CommandLineWords, endsAtANul) {
    EXPECT_THAT(commandLineWords(std::string("prog a\0b c", 10)), ElementsAre("prog", "a"));
}

TEST(CommandLineWords, takesTimeInProportionToTheLine) {
    const std::string backslashes(1000000, '\\');
    EXPECT_THAT(commandLineWords("prog " + backslashes + " b"), ElementsAre("prog", backslashes, "b"));
    EXPECT_EQ(backslashes.size() / 2, commandLineWords("prog " + backslashes + "\"").at(1).size());
}
