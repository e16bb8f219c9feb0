// The words of a command line in one piece.
#include "config/CommandLineTokens.h"

#include <gmock/gmock.h>

using namespace std::string_view_literals;
using OrvoSupport::commandLineTokens;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(CommandLineTokens, splitsAtBlanksAndTabs) {
    EXPECT_THAT(commandLineTokens("a b\tc"), ElementsAre("a", "b", "c"));
    EXPECT_THAT(commandLineTokens(" \t a \t b \t"), ElementsAre("a", "b"));
    EXPECT_THAT(commandLineTokens("a\nb\rc\vd"), ElementsAre("a\nb\rc\vd"));
    EXPECT_THAT(commandLineTokens(""), IsEmpty());
    EXPECT_THAT(commandLineTokens(" \t "), IsEmpty());
}

TEST(CommandLineTokens, keepsQuotedStretchesTogetherAnywhereInAWord) {
    EXPECT_THAT(commandLineTokens("a\"b c\"d"), ElementsAre("ab cd"));
    EXPECT_THAT(commandLineTokens("'a b' \"c\td\""), ElementsAre("a b", "c\td"));
    EXPECT_THAT(commandLineTokens("\"a\"'b'\"c d\"e f"), ElementsAre("abc de", "f"));
}

TEST(CommandLineTokens, takesTheOtherQuoteAsItIs) {
    EXPECT_THAT(commandLineTokens("\"it's\" 'say \"x\"'"), ElementsAre("it's", "say \"x\""));
}

TEST(CommandLineTokens, escapesNothing) {
    EXPECT_THAT(commandLineTokens("a\\ b \"c\\\" d"), ElementsAre("a\\", "b", "c\\", "d"));
    EXPECT_THAT(commandLineTokens("\"a\"\"b\""), ElementsAre("ab"));
}

TEST(CommandLineTokens, makesAnEmptyWordOfAQuotedNothing) {
    EXPECT_THAT(commandLineTokens("a \"\" b"), ElementsAre("a", "", "b"));
    EXPECT_THAT(commandLineTokens("''"), ElementsAre(""));
    EXPECT_THAT(commandLineTokens("\"\"a''"), ElementsAre("a"));
}

TEST(CommandLineTokens, runsToTheEndWithoutAClosingQuote) {
    EXPECT_THAT(commandLineTokens("a 'b c "), ElementsAre("a", "b c "));
    EXPECT_THAT(commandLineTokens("a b\""), ElementsAre("a", "b"));
    EXPECT_THAT(commandLineTokens("a \""), ElementsAre("a", ""));
}

TEST(CommandLineTokens, takesANulAsAnyOther) {
    EXPECT_THAT(commandLineTokens("a\0b c"sv), ElementsAre("a\0b"sv, "c"));
}
