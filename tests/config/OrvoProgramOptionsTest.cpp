// Command lines taken apart, leniently and by specifications.
#include "OrvoProgramOptions.h"

#include <gmock/gmock.h>

#include <climits>
#include <random>
#include <type_traits>

#include "OrvoException.h"

using namespace std::string_literals;

namespace OrvoSupport {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const string outOfBounds = "OrvoProgramOptions::getArgument: index out of bounds";

// An argument vector as main() gets it, the null at its end included.
class Vector {
public:
    explicit Vector(std::vector<string> arguments) : m_arguments(std::move(arguments)) {
        for (string& argument : m_arguments) m_pointers.push_back(argument.data());
        m_pointers.push_back(nullptr);
    }
    int argc() const { return static_cast<int>(m_arguments.size()); }
    char** argv() { return m_pointers.data(); }

private:
    std::vector<string> m_arguments;
    std::vector<char*> m_pointers;
};

OrvoProgramOptions lenient(std::vector<string> arguments, bool allowSlash = false) {
    Vector vector(std::move(arguments));
    return OrvoProgramOptions(vector.argc(), vector.argv(), allowSlash);
}

OrvoProgramOptions strict(std::vector<string> arguments, bool allowSlash = false) {
    Vector vector(std::move(arguments));
    return OrvoProgramOptions(vector.argc(), vector.argv(), "ab:", ":all:size.:", allowSlash);
}

std::vector<string> plain(const OrvoProgramOptions& options) { return {options.begin(), options.end()}; }

// What the call throws, as "code: text".
template <class Call>
string thrownBy(Call call) {
    try {
        call();
        return "nothing";
    } catch (const OrvoException& e) {
        return std::to_string(e.getCode()) + ": " + e.getText();
    }
}

string valueOf(const OrvoProgramOptions& options, const string& name) {
    string value = "absent";
    thrownBy([&] { value = '[' + options.getSwitch(name) + ']'; });
    return value;
}

string failureOf(std::vector<string> arguments, bool allowSlash = false) {
    return thrownBy([&] { strict(std::move(arguments), allowSlash); });
}

TEST(OrvoProgramOptions, takesAnyOptionWhenLenient) {
    const auto options = lenient({"prog", "-a", "-b=2", "x", "--c=3", "y"});
    EXPECT_EQ("prog", options.getProgramName());
    EXPECT_EQ("[]", valueOf(options, "a"));
    EXPECT_EQ("[2]", valueOf(options, "b"));
    EXPECT_EQ("[3]", valueOf(options, "c"));
    EXPECT_EQ("absent", valueOf(options, "x"));
    EXPECT_THAT(plain(options), ElementsAre("x", "y"));
}

TEST(OrvoProgramOptions, readsLenientOptionsAsLinesOfAPropertyFile) {
    struct Case {
        const char* argument;
        const char* name;
        const char* value;
    };
    const Case cases[] = {
        {"-name=value", "name", "[value]"},
        {"--name", "name", "[]"},
        {"-a=b=c", "a", "[b=c]"},
        {"-a=  b ", "a", "[b ]"},
        {"--a=\tb", "a", "[\tb]"},
        {"-a=1\r2", "a", "[1]"},
        {"--a=1\n2", "a", "[1]"},
        {"-a b=c", "a b", "[c]"},
        {"-#a=1", "#a", "absent"},
        {"---a=1", "-a", "[1]"},
        {"-\xFF=\x01\xFE", "\xFF", "[\x01\xFE]"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.value, valueOf(lenient({"prog", c.argument}), c.name)) << c.argument;
}

TEST(OrvoProgramOptions, recordsNothingOfDashesAlone) {
    const auto options = lenient({"prog", "-", "--", "-=x", "--=x"});
    EXPECT_EQ(0u, options.getArgumentCount());
    EXPECT_EQ("absent", valueOf(options, ""));
}

TEST(OrvoProgramOptions, keepsPlainArgumentsAsTheyAre) {
    EXPECT_THAT(plain(lenient({"prog", "", "a=b", " -c", "#d", "\xE4\n"})),
                ElementsAre("", "a=b", " -c", "#d", "\xE4\n"));
}

TEST(OrvoProgramOptions, letsASlashIntroduceOptionsIfAsked) {
    const std::vector<string> arguments = {"/prog", "/a", "/b=1", "/-c=2", "//d", "-e"};
    const auto with = lenient(arguments, true);
    EXPECT_EQ("/prog", with.getProgramName());
    EXPECT_EQ("[]", valueOf(with, "a"));
    EXPECT_EQ("[1]", valueOf(with, "b"));
    EXPECT_EQ("[2]", valueOf(with, "c"));
    EXPECT_EQ("[]", valueOf(with, "/d"));
    EXPECT_EQ("[]", valueOf(with, "e"));
    EXPECT_THAT(plain(with), IsEmpty());

    const auto without = lenient(arguments);
    EXPECT_THAT(plain(without), ElementsAre("/a", "/b=1", "/-c=2", "//d"));
    EXPECT_EQ("absent", valueOf(without, "a"));
}

TEST(OrvoProgramOptions, takesWhatIsDeclaredWhenStrict) {
    struct Case {
        std::vector<string> arguments;
        const char* name;
        const char* value;
    };
    const Case cases[] = {
        {{"-b", "5"}, "b", "[5]"},
        {{"-b5"}, "b", "[5]"},
        {{"-b=5"}, "b", "[=5]"},
        {{"-b", "-a"}, "b", "[-a]"},
        {{"-b", ""}, "b", "[]"},
        {{"-b", "  x\ry"}, "b", "[  x\ry]"},
        {{"-a"}, "a", "[]"},
        {{"-ab"}, "a", "[]"},
        {{"-ab"}, "b", "absent"},
        {{"-a=1"}, "a", "[]"},
        {{"-size", "10"}, "size", "[10]"},
        {{"-size", "--all"}, "size", "[--all]"},
        {{"-size=3", "10"}, "size=3", "[10]"},
        {{"-size=3", "10"}, "size", "absent"},
        {{"--all"}, "all", "[]"},
        {{"-all"}, "all", "[]"},
        {{"--all=2"}, "all", "[2]"},
        {{"-all= 2"}, "all", "[2]"},
        {{"--size=10"}, "size", "absent"},
        {{"--size.=1"}, "size.", "[1]"},
    };
    for (const Case& c : cases) {
        std::vector<string> arguments = {"prog"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        const auto options = strict(arguments);
        EXPECT_EQ(c.value, valueOf(options, c.name)) << c.arguments.front();
        EXPECT_EQ(0u, options.getArgumentCount()) << c.arguments.front();
    }
}

TEST(OrvoProgramOptions, neverTakesAnArgumentForTwoDashes) {
    const auto options = strict({"prog", "--size", "x", "--all", "y", "--size=z"});
    EXPECT_EQ("absent", valueOf(options, "size"));
    EXPECT_EQ("[]", valueOf(options, "all"));
    EXPECT_THAT(plain(options), ElementsAre("x", "y"));
}

TEST(OrvoProgramOptions, refusesWhatIsNotDeclared) {
    const string text = "0: OrvoProgramOptions::parse: Unrecognized option: ";
    EXPECT_EQ(text + "-q", failureOf({"prog", "-q"}));
    EXPECT_EQ(text + "-s", failureOf({"prog", "-siz", "10"}));
    EXPECT_EQ(text + "-:", failureOf({"prog", "-:"}));
    EXPECT_EQ(text + "-=", failureOf({"prog", "-=x"}));
    EXPECT_EQ(text + "--bogus", failureOf({"prog", "--bogus"}));
    EXPECT_EQ(text + "--bogus", failureOf({"prog", "--bogus=1"}));
    EXPECT_EQ(text + "--a", failureOf({"prog", "--a"}));
    EXPECT_EQ(text + "--", failureOf({"prog", "--"}));
    EXPECT_EQ(text + "-q", failureOf({"prog", "/q"}, true));
    EXPECT_EQ(text + "--q", failureOf({"prog", "/-q"}, true));
    EXPECT_EQ("nothing", failureOf({"prog", "/q", "-a", "x"}));
}

// The letter is NUL then, which a text does not show.
TEST(OrvoProgramOptions, refusesALoneDash) {
    EXPECT_EQ("0: OrvoProgramOptions::parse: Unrecognized option: -", failureOf({"prog", "-"}));
    EXPECT_EQ("0: OrvoProgramOptions::parse: Unrecognized option: -", failureOf({"prog", "/"}, true));
    EXPECT_EQ("0: OrvoProgramOptions::parse: Unrecognized option: -",
              thrownBy([] { OrvoProgramOptions("prog -", "a\0:"s, "", false); }));
}

TEST(OrvoProgramOptions, refusesOptionsWithoutTheirData) {
    const string text = "0: OrvoProgramOptions::parse: option data not available for: ";
    EXPECT_EQ(text + "-b", failureOf({"prog", "-b"}));
    EXPECT_EQ(text + "-b", failureOf({"prog", "x", "-a", "-b"}));
    EXPECT_EQ(text + "-size", failureOf({"prog", "-size"}));
    EXPECT_EQ(text + "-size=3", failureOf({"prog", "-size=3"}));
    EXPECT_EQ(text + "-size", failureOf({"prog", "/size"}, true));
}

TEST(OrvoProgramOptions, matchesLongNamesAsText) {
    Vector vector({"prog", "--all:size.=1", "-x"});
    const OrvoProgramOptions options(vector.argc(), vector.argv(), "x", ":all:size.:", false);
    EXPECT_EQ("[1]", valueOf(options, "all:size."));
    EXPECT_EQ("[]", valueOf(options, "x"));
    // Without data wins, wherever it stands; a name needs its own colons.
    EXPECT_EQ("[]", valueOf(OrvoProgramOptions("prog -n x", "", ":n.:n:", false), "n"));
    EXPECT_EQ("[x]", valueOf(OrvoProgramOptions("prog -n x", "", ":on:nn:n.:", false), "n"));
    for (const char* longSpec : {"n", "n:", ":n", ":n.", ":n;", "", ":", "::"})
        EXPECT_EQ("0: OrvoProgramOptions::parse: Unrecognized option: --n",
                  thrownBy([&] { OrvoProgramOptions("prog --n", "n", longSpec, false); }));
}

TEST(OrvoProgramOptions, prefersALongNameToALetter) {
    Vector vector({"prog", "-a", "1", "-b2"});
    const OrvoProgramOptions options(vector.argc(), vector.argv(), "ab", ":a.:b2:", false);
    EXPECT_EQ("[1]", valueOf(options, "a"));
    EXPECT_EQ("[]", valueOf(options, "b2"));
    EXPECT_EQ("absent", valueOf(options, "b"));
}

TEST(OrvoProgramOptions, knowsNoOptionsWithoutSpecifications) {
    Vector vector({"prog", "x"});
    EXPECT_THAT(plain(OrvoProgramOptions(vector.argc(), vector.argv(), "", "", true)), ElementsAre("x"));
    EXPECT_EQ("0: OrvoProgramOptions::parse: Unrecognized option: -x",
              thrownBy([] { OrvoProgramOptions("prog -x", "", "", false); }));
}

TEST(OrvoProgramOptions, answersTheFirstValueOfAnOption) {
    const auto options = lenient({"prog", "-a=1", "-a=2", "-b=3"});
    EXPECT_EQ("1", options.getSwitch("a"));
    EXPECT_EQ("0: ", thrownBy([&] { options.getSwitch("A"); }));
    EXPECT_EQ("0: ", thrownBy([&] { options.getSwitch("x"); }));
}

TEST(OrvoProgramOptions, prefersTheOtherNameOfAnOption) {
    const auto options = lenient({"prog", "-a=1", "--all=2", "-b=3", "--c"});
    EXPECT_EQ("2", options.getSwitch("a", "all"));
    EXPECT_EQ("1", options.getSwitch("all", "a"));
    EXPECT_EQ("3", options.getSwitch("b", "bytes"));
    EXPECT_EQ("3", options.getSwitch("bytes", "b"));
    EXPECT_EQ("", options.getSwitch("b", "c"));
    EXPECT_EQ("0: ", thrownBy([&] { options.getSwitch("x", "y"); }));
}

TEST(OrvoProgramOptions, givesArgumentsByIndexAndPosition) {
    const auto options = lenient({"prog", "x", "y"});
    ASSERT_EQ(2u, options.getArgumentCount());
    EXPECT_EQ("x", options.getArgument(0));
    EXPECT_EQ("y", options.getArgument(1));
    EXPECT_EQ("y", options.getArgument(options.begin() + 1));
    EXPECT_EQ("0: " + outOfBounds, thrownBy([&] { options.getArgument(2); }));
    EXPECT_EQ("0: " + outOfBounds, thrownBy([&] { options.getArgument(0xFFFFFFFFu); }));
    EXPECT_EQ("0: " + outOfBounds, thrownBy([&] { options.getArgument(options.end()); }));
}

TEST(OrvoProgramOptions, movesACursorOverTheArguments) {
    auto options = lenient({"prog", "x", "-a", "y", "z"});
    EXPECT_EQ("x", options.getArgument());
    EXPECT_EQ("x", *options);
    EXPECT_EQ("y", *++options);
    EXPECT_EQ(options.begin() + 1, options.getIterator());
    EXPECT_EQ("z", *++options);
    EXPECT_EQ("y", *--options);
    EXPECT_EQ("y", *options);
    EXPECT_EQ("x", *options.reset());
    EXPECT_EQ(options.begin(), options.getIterator());
}

TEST(OrvoProgramOptions, keepsTheCursorAmongTheArguments) {
    auto options = lenient({"prog", "x"});
    EXPECT_EQ(options.begin(), --options);
    EXPECT_EQ(options.end(), ++options);
    EXPECT_EQ(options.end(), ++options);
    EXPECT_EQ("0: " + outOfBounds, thrownBy([&] { options.getArgument(); }));
    EXPECT_EQ("0: " + outOfBounds, thrownBy([&] { *options; }));
    EXPECT_EQ("x", *--options);
}

TEST(OrvoProgramOptions, startsTheCursorOfACopyAtTheFirstArgument) {
    auto source = lenient({"prog", "-a=1", "x", "y"});
    ++source;
    const OrvoProgramOptions copy(source);
    EXPECT_EQ("x", *copy);
    EXPECT_EQ(copy.begin(), copy.getIterator());
    EXPECT_EQ("prog", copy.getProgramName());
    EXPECT_EQ("1", copy.getSwitch("a"));
    EXPECT_EQ("y", *source);

    auto target = lenient({"other", "-b", "p", "q", "r"});
    ++target;
    EXPECT_EQ(&target, &(target = source));
    EXPECT_EQ("x", *target);
    EXPECT_EQ(2u, target.getArgumentCount());
    EXPECT_EQ("prog", target.getProgramName());
    EXPECT_EQ("absent", valueOf(target, "b"));
    EXPECT_EQ("1", target.getSwitch("a"));
}

TEST(OrvoProgramOptions, outlivesAnAssignmentToItself) {
    auto options = lenient({"prog", "-a=1", "x", "y"});
    const OrvoProgramOptions& same = options;
    ++options;
    options = same;
    EXPECT_EQ("x", *options);
    EXPECT_EQ("1", options.getSwitch("a"));
    EXPECT_THAT(plain(options), ElementsAre("x", "y"));
}

TEST(OrvoProgramOptions, isEmptyWithoutArguments) {
    char name[] = "prog";
    char* nothing[] = {nullptr};
    char* gap[] = {name, nullptr, name};
    EXPECT_EQ("", OrvoProgramOptions(0, nullptr, false).getProgramName());
    EXPECT_EQ("", OrvoProgramOptions(0, nullptr, "a", "", true).getProgramName());
    EXPECT_EQ("", OrvoProgramOptions(3, nullptr, false).getProgramName());
    EXPECT_EQ("", OrvoProgramOptions(-1, gap, false).getProgramName());
    EXPECT_EQ("", OrvoProgramOptions(0, gap, false).getProgramName());
    EXPECT_EQ("", OrvoProgramOptions(1, nothing, false).getProgramName());
    EXPECT_EQ("prog", OrvoProgramOptions(3, gap, false).getProgramName());
    EXPECT_EQ(0u, OrvoProgramOptions(3, gap, false).getArgumentCount());
    EXPECT_EQ("prog", OrvoProgramOptions(INT_MAX, gap, "a", "", false).getProgramName());
    EXPECT_EQ("", OrvoProgramOptions(INT_MIN, gap, "a", "", false).getProgramName());

    OrvoProgramOptions empty(0, nullptr, false);
    EXPECT_EQ(0u, empty.getArgumentCount());
    EXPECT_EQ(empty.end(), empty.reset());
    EXPECT_EQ(empty.end(), ++empty);
    EXPECT_EQ("0: " + outOfBounds, thrownBy([&] { *empty; }));
    EXPECT_EQ("absent", valueOf(OrvoProgramOptions(empty), ""));
}

TEST(OrvoProgramOptions, splitsALineInOnePiece) {
    const OrvoProgramOptions options(" \"my prog\" -a '-b=2 3' x\t--c=\"3 4\" a\"b c\"d \"\"", false);
    EXPECT_EQ("my prog", options.getProgramName());
    EXPECT_EQ("[]", valueOf(options, "a"));
    EXPECT_EQ("[2 3]", valueOf(options, "b"));
    EXPECT_EQ("[3 4]", valueOf(options, "c"));
    EXPECT_THAT(plain(options), ElementsAre("x", "ab cd", ""));
}

TEST(OrvoProgramOptions, takesALineByItsSpecifications) {
    const OrvoProgramOptions options("prog -b '5 6' -size 10 --all x", "ab:", ":all:size.:", false);
    EXPECT_EQ("[5 6]", valueOf(options, "b"));
    EXPECT_EQ("[10]", valueOf(options, "size"));
    EXPECT_EQ("[]", valueOf(options, "all"));
    EXPECT_THAT(plain(options), ElementsAre("x"));
    EXPECT_EQ("0: OrvoProgramOptions::parse: option data not available for: -b",
              thrownBy([] { OrvoProgramOptions("prog -b", "ab:", ":all:size.:", false); }));
    EXPECT_EQ("[]", valueOf(OrvoProgramOptions("prog /a", "ab:", ":all:size.:", true), "a"));
}

TEST(OrvoProgramOptions, isEmptyForALineWithoutWords) {
    for (const char* line : {"", " ", "\t \t"}) {
        const OrvoProgramOptions options(line, true);
        EXPECT_EQ("", options.getProgramName());
        EXPECT_EQ(0u, options.getArgumentCount());
    }
    const OrvoProgramOptions quoted("'' x", false);
    EXPECT_EQ("", quoted.getProgramName());
    EXPECT_THAT(plain(quoted), ElementsAre("x"));
}

TEST(OrvoProgramOptions, endsAWordOfALineAtItsFirstNul) {
    const OrvoProgramOptions options("prog a\0b -c=\0001 d"s, false);
    EXPECT_THAT(plain(options), ElementsAre("a", "d"));
    EXPECT_EQ("[]", valueOf(options, "c"));
}

TEST(OrvoProgramOptions, takesTenThousandArguments) {
    std::vector<string> arguments = {"prog"};
    string line = "prog";
    for (int i = 0; i < 10000; ++i) {
        const string number = std::to_string(i);
        arguments.push_back(i % 2 ? "-o" + number + "=" + number : "p" + number);
        line += ' ' + arguments.back();
    }
    for (const auto& options : {lenient(arguments), OrvoProgramOptions(line, false)}) {
        ASSERT_EQ(5000u, options.getArgumentCount());
        EXPECT_EQ("p9998", options.getArgument(4999));
        EXPECT_EQ("9999", options.getSwitch("o9999"));
    }
}

TEST(OrvoProgramOptions, takesTenThousandArgumentsByTheirSpecifications) {
    std::vector<string> arguments = {"prog"};
    string line = "prog";
    string longSpec = ":";
    for (int i = 0; i < 2500; ++i) {
        const string number = std::to_string(i);
        longSpec += "o" + number + ".:";
        for (const string& argument : {"-o" + number, number, "-b" + number, "p" + number}) {
            arguments.push_back(argument);
            line += '\t' + argument;
        }
    }
    Vector vector(arguments);
    for (const auto& options : {OrvoProgramOptions(vector.argc(), vector.argv(), "b:", longSpec, false),
                                OrvoProgramOptions(line, "b:", longSpec, false)}) {
        ASSERT_EQ(2500u, options.getArgumentCount());
        EXPECT_EQ("p2499", options.getArgument(2499));
        EXPECT_EQ("2499", options.getSwitch("o2499"));
        EXPECT_EQ("0", options.getSwitch("b"));
    }
}

// A vector of any bytes comes out as it went in, whether declared options stand between or not.
TEST(OrvoProgramOptions, takesArgumentsOfAnyBytes) {
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        std::vector<string> arguments = {"prog"};
        std::vector<string> expected;
        for (int i = 0; i < 20; ++i) {
            string argument(random() % 12, ' ');
            for (char& c : argument) c = static_cast<char>(1 + random() % 255);
            if (!argument.empty() && argument[0] == '-') argument[0] = '+';
            arguments.push_back(argument);
            expected.push_back(argument);
            if (random() % 3 == 0) arguments.insert(arguments.end(), {"-b", argument});
        }
        ASSERT_EQ(expected, plain(strict(arguments)));
        const bool hasData = arguments.size() > expected.size() + 1;
        ASSERT_EQ(hasData, valueOf(strict(arguments), "b") != "absent");
    }
}

// Hostile words: nothing but an OrvoException may come of them.
TEST(OrvoProgramOptions, survivesAnyLine) {
    const string alphabet = "-/:.=ab \t\"'#\0\r\n\xFFsize"s;
    std::mt19937 random(2);
    for (int round = 0; round < 20000; ++round) {
        string line(random() % 40, ' ');
        for (char& c : line) c = alphabet[random() % alphabet.size()];
        const OrvoProgramOptions options(line, true);
        thrownBy([&] { OrvoProgramOptions(line, line, line, true); });
        thrownBy([&] { OrvoProgramOptions("p " + line, "ab:", ":all:size.:", round % 2 == 0); });
    }
}

TEST(OrvoProgramOptions, isReadByConstReference) {
    using Iterator = OrvoProgramOptions::const_iterator;
    static_assert(std::is_same_v<Iterator, std::vector<string>::const_iterator>);
    static_assert(!std::is_default_constructible_v<OrvoProgramOptions>);
    const OrvoProgramOptions options("prog a b", false);
    unsigned count = 0;
    for (const string& argument : options) count += argument.size() == 1;
    EXPECT_EQ(2u, count);
}

}  // namespace
}  // namespace OrvoSupport
