// Reading, printing and ordering versions, and lists of ranges.
#include <gmock/gmock.h>

#include <type_traits>

#include "OrvoException.h"
#include "OrvoVersion.h"

using namespace OrvoSupport;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

static_assert(std::has_virtual_destructor_v<OrvoVersion>);

// The comparison is private, and a program that compares versions has to get at it. An explicit instantiation
// may name what is private.
using Compare = OrvoVersion::tTestMode (*)(const OrvoVersion&, const OrvoVersion&);
Compare privateCompare();
template <Compare function>
struct OpenCompare {
    friend Compare privateCompare() { return function; }
};
template struct OpenCompare<&OrvoVersion::compare>;

OrvoVersion::tTestMode compare(const string& a, const string& b) {
    return privateCompare()(OrvoVersion(a), OrvoVersion(b));
}

string printed(const string& text) { return OrvoVersion(text).toString(); }

/// What the exception says that reading the text throws.
template <class Read>
string refusal(Read read) {
    try {
        read();
    } catch (const OrvoException& exception) {
        EXPECT_EQ(0, exception.getCode());
        return exception.getText();
    }
    return "";
}

string parseRefusal(const string& text) {
    return refusal([&] { OrvoVersion version(text); });
}

string rangeRefusal(const string& spec) {
    return refusal([&] { OrvoVersion::createRangeVector(spec); });
}

/// The pairs as "lower|upper".
std::vector<string> ranges(const string& spec) {
    std::vector<string> result;
    for (const auto& [lower, upper] : OrvoVersion::createRangeVector(spec))
        result.push_back(lower.toString() + "|" + upper.toString());
    return result;
}

const string parsePrefix = "OrvoVersion::parse: invalid version string: ";
const string rangePrefix = "OrvoVersion::createRangeVector: Invalid range specification: ";

TEST(OrvoVersionTest, isNotInitialisedWithoutNumberAndWord) {
    int number = 7;
    EXPECT_FALSE(OrvoVersion().isInit());
    EXPECT_FALSE(OrvoVersion(&number).isInit());
    EXPECT_FALSE(OrvoVersion(nullptr).isInit());
    EXPECT_FALSE(OrvoVersion(string()).isInit());
    EXPECT_FALSE(OrvoVersion("...").isInit());
    EXPECT_EQ("", OrvoVersion().toString());
    EXPECT_TRUE(OrvoVersion("0").isInit());
    EXPECT_TRUE(OrvoVersion("beta").isInit());
}

TEST(OrvoVersionTest, printsWhatItRead) {
    for (const char* text : {"1", "1.2.3", "5.2.0.1", "1.2.beta", "7.1.rc-2", "1.2.3.4.5.6.7.8.9.10.11.12"})
        EXPECT_EQ(text, printed(text));
}

TEST(OrvoVersionTest, printsADotBeforeALoneWord) { EXPECT_EQ(".beta", printed("beta")); }

TEST(OrvoVersionTest, takesTheLeadingDigitsOfAComponentOnly) {
    EXPECT_EQ("3.1", printed("3a.1b2"));
    EXPECT_EQ("3", printed("3 4"));
    EXPECT_EQ("7.10", printed("007.010"));
    EXPECT_EQ("0", printed("0x10"));
    EXPECT_EQ("1.2", printed("1.2\n"));
}

TEST(OrvoVersionTest, takesWhatBeginsWithoutADigitForAWord) {
    EXPECT_EQ("1.-5", printed("1.-5"));
    EXPECT_EQ("1.+5", printed("1.+5"));
    EXPECT_EQ("1. 5", printed("1. 5"));
    EXPECT_EQ("1.\xC4", printed("1.\xC4"));
}

TEST(OrvoVersionTest, countsDotsInARowAsOne) {
    EXPECT_EQ("1.2", printed("1..2"));
    EXPECT_EQ("1.2", printed(".1.2."));
    EXPECT_EQ("1.beta", printed("1...beta.."));
}

TEST(OrvoVersionTest, readsUpToTheFirstNul) { EXPECT_EQ("1.2", printed(string("1.2\0.3", 6))); }

TEST(OrvoVersionTest, holdsTheLargestComponentThatFits32Bits) {
    EXPECT_EQ("2147483647", printed("2147483647"));
    EXPECT_EQ("2147483647", printed("2147483648"));
    EXPECT_EQ("2147483647.1", printed("4294967296.1"));
    EXPECT_EQ("2147483647", printed("99999999999999999999999999999999a"));
    EXPECT_EQ("5", printed(string(5000, '0') + "5"));
}

TEST(OrvoVersionTest, refusesAWordThatIsNotTheLast) {
    EXPECT_EQ(parsePrefix + "1.beta.3", parseRefusal("1.beta.3"));
    EXPECT_EQ(parsePrefix + "beta.3", parseRefusal("beta.3"));
    EXPECT_EQ(parsePrefix + "1..a..b.", parseRefusal("1..a..b."));
    EXPECT_EQ(parsePrefix + "-1.0", parseRefusal("-1.0"));
}

TEST(OrvoVersionTest, readsTextsOfAnyLength) {
    string text = "1";
    for (int i = 0; i < 200000; ++i) text += ".0";
    EXPECT_EQ(text, printed(text));
    EXPECT_EQ(OrvoVersion::Equal, compare(text, "1"));
    EXPECT_EQ(OrvoVersion::Less, compare(text, text + ".1"));
}

TEST(OrvoVersionTest, assignmentReplacesEverything) {
    OrvoVersion version("1.2.beta");
    version = string("3");
    EXPECT_EQ("3", version.toString());
    version = "";
    EXPECT_FALSE(version.isInit());
    version = OrvoVersion("4.rc");
    EXPECT_EQ("4.rc", version.toString());
    version = *&version;
    EXPECT_EQ("4.rc", version.toString());
    const OrvoVersion copy(version);
    version = "5";
    EXPECT_EQ("4.rc", copy.toString());
}

TEST(OrvoVersionTest, keepsTheComponentsInFrontOfABadOneWhenAssignmentFails) {
    OrvoVersion version("9.9.9.old");
    EXPECT_EQ(parsePrefix + "1.2.beta.3", refusal([&] { version = "1.2.beta.3"; }));
    EXPECT_EQ("1.2", version.toString());
}

TEST(OrvoVersionTest, ordersByNumbers) {
    EXPECT_EQ(OrvoVersion::Less, compare("1.2", "1.2.1"));
    EXPECT_EQ(OrvoVersion::Greater, compare("1.2.1", "1.2"));
    EXPECT_EQ(OrvoVersion::Greater, compare("1.10", "1.9"));
    EXPECT_EQ(OrvoVersion::Less, compare("1.9.9", "1.10"));
    EXPECT_EQ(OrvoVersion::Less, compare("2.beta", "10"));
    EXPECT_EQ(OrvoVersion::Less, compare("", "0.0.1"));
}

TEST(OrvoVersionTest, takesMissingComponentsForZeros) {
    EXPECT_EQ(OrvoVersion::Equal, compare("1.2", "1.2.0.0"));
    EXPECT_EQ(OrvoVersion::Equal, compare("1.2.0", "1.2"));
    EXPECT_EQ(OrvoVersion::Equal, compare("", "0.0"));
    EXPECT_EQ(OrvoVersion::Less, compare("1.2", "1.2.0.0.1"));
    EXPECT_EQ(OrvoVersion::Greater, compare("1.2.0.1", "1.2"));
}

TEST(OrvoVersionTest, ordersEqualNumbersByTheirWords) {
    EXPECT_EQ(OrvoVersion::Less, compare("1.0", "1.0.beta"));
    EXPECT_EQ(OrvoVersion::Greater, compare("1.beta", "1.0.alpha"));
    EXPECT_EQ(OrvoVersion::Equal, compare("1.0.beta", "1.beta"));
    EXPECT_EQ(OrvoVersion::Less, compare("1.Beta", "1.beta"));
    EXPECT_EQ(OrvoVersion::Less, compare("1.rc", "1.rc2"));
    EXPECT_EQ(OrvoVersion::Less, compare("1.z", "1.\xC4"));
}

TEST(OrvoVersionTest, ordersAllVersionsConsistently) {
    const std::vector<string> ascending = {"",    "a",   "0.0.1", "0.1", "1",
                                           "1.a", "1.b", "1.0.1", "1.2", "2147483647"};
    for (std::size_t i = 0; i < ascending.size(); ++i)
        for (std::size_t j = 0; j < ascending.size(); ++j)
            EXPECT_EQ(i < j   ? OrvoVersion::Less
                      : j < i ? OrvoVersion::Greater
                              : OrvoVersion::Equal,
                      compare(ascending[i], ascending[j]))
                << ascending[i] << " and " << ascending[j];
}

TEST(OrvoVersionTest, numbersTheAnswersOfAComparison) {
    EXPECT_EQ(0, OrvoVersion::Equal);
    EXPECT_EQ(1, OrvoVersion::Less);
    EXPECT_EQ(2, OrvoVersion::Greater);
}

TEST(OrvoVersionTest, readsRangesAndSingleVersions) {
    EXPECT_THAT(ranges("{1.0-2.0}"), ElementsAre("1.0|2.0"));
    EXPECT_THAT(ranges("1.5"), ElementsAre("1.5|"));
    EXPECT_THAT(ranges("{1.0-2.0},3.1"), ElementsAre("1.0|2.0", "3.1|"));
    EXPECT_THAT(ranges("3.beta,{1-2}"), ElementsAre("3.beta|", "1|2"));
    EXPECT_FALSE(OrvoVersion::createRangeVector("1.5")[0].second.isInit());
}

TEST(OrvoVersionTest, skipsEmptyItems) {
    EXPECT_THAT(ranges(""), IsEmpty());
    EXPECT_THAT(ranges(",,"), IsEmpty());
    EXPECT_THAT(ranges(",1,,2,"), ElementsAre("1|", "2|"));
}

TEST(OrvoVersionTest, dropsTheLastCharacterOfARangeUnseen) {
    EXPECT_THAT(ranges("{1.0-2.0}x"), ElementsAre("1.0|2.0"));
    EXPECT_THAT(ranges("{1.0-2.05"), ElementsAre("1.0|2.0"));
    EXPECT_THAT(ranges("{1-2.a}x"), ElementsAre("1|2.a}"));
}

TEST(OrvoVersionTest, splitsARangeAtItsFirstMinus) {
    EXPECT_THAT(ranges("{1-2-3}"), ElementsAre("1|2"));
    EXPECT_THAT(ranges("{1.a-b}"), ElementsAre("1.a|.b"));
    EXPECT_THAT(ranges("{.-.}"), ElementsAre("|"));
}

TEST(OrvoVersionTest, takesAnItemWithoutABraceInFrontForAVersion) {
    EXPECT_THAT(ranges("1.0-2.0}"), ElementsAre("1.0.0|"));
    EXPECT_THAT(ranges(" {1-2}"), ElementsAre(". {1-2}|"));
}

TEST(OrvoVersionTest, refusesWrongRanges) {
    for (const char* spec :
         {"{-2.0}", "{1.0-}", "{", "{}", "{-", "{-}", "{1}", "{1-", "{1-2", "{1.0}", "1,{2},3"})
        EXPECT_EQ(rangePrefix + spec, rangeRefusal(spec));
}

TEST(OrvoVersionTest, refusesAWrongRangeBeforeItReadsAnyVersion) {
    EXPECT_EQ(rangePrefix + "a.1,{2}", rangeRefusal("a.1,{2}"));
    EXPECT_EQ(parsePrefix + "a.1", rangeRefusal("1,a.1,{2-3}"));
    EXPECT_EQ(parsePrefix + "b.2", rangeRefusal("{1-b.2}"));
}

}  // namespace
