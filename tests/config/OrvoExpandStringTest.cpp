// Text with references to variables of the environment and to properties.
#include "OrvoExpandString.h"

#include <gmock/gmock.h>

#include <map>
#include <thread>

#include "OrvoException.h"
#include "os/LogCapture.h"
#include "support/ChildProcess.h"

using namespace std::string_literals;

namespace OrvoSupport {
namespace {

using testing::ElementsAre;
using testing_support::LogCapture;
using testing_support::setEnvironment;

struct Case {
    const char* text;
    const char* expected;
};

class Variables {
public:
    Variables() {
        for (const auto& [name, value] : m_values) setEnvironment(name, value);
    }
    ~Variables() {
        for (const auto& [name, value] : m_values) setEnvironment(name, nullptr);
    }

private:
    const std::map<const char*, const char*> m_values = {{"OSUPT_X", "1"},     {"OSUPT_W", "<OSUPT_Y>"},
                                                         {"OSUPT_Y", "2"},     {"OSUPT_OPEN", "<"},
                                                         {"OSUPT_CLOSE", ">"}, {"OSUPT_PATH", "C:\\data"}};
};

OrvoProperties<string> properties(std::initializer_list<const char*> lines) {
    OrvoProperties<string> store;
    for (const char* line : lines) store.addProperty(line, '=');
    return store;
}

string missingIn(const string& text, OrvoProperties<string> store) {
    try {
        return "expanded to " + OrvoExpandString(text, store);
    } catch (const OrvoPropertyNotFound& e) {
        EXPECT_EQ(0, e.getCode());
        return e.getText();
    }
}

TEST(OrvoExpandString, replacesReferencesToProperties) {
    auto store = properties({"X=1", "W=<Y>", "Y=2", "Open=<", "Close=>", "Empty="});
    const Case expected[] = {
        {"", ""},
        {"abc", "abc"},
        {"a<X>b", "a1b"},
        {"<X><Y>", "12"},
        {"a<Empty>b", "ab"},
        {"a<b", "a<b"},
        {"a>b<c", "a>b<c"},
        {">", ">"},
        {"<", "<"},
        {"a>b<X>c", "a>b1c"},
        {"<X>>", "1>"},
        {"<X><", "1<"},
        {"<X", "<X"},
        {"%X% ${X} $X", "%X% ${X} $X"},
    };
    for (const Case& c : expected) EXPECT_EQ(c.expected, OrvoExpandString(c.text, store)) << c.text;
}

TEST(OrvoExpandString, expandsWhatValuesHold) {
    auto store = properties({"X=<Y>", "Y=2", "Z=<X>-<Y>", "All=<Z>+<Z>"});
    EXPECT_EQ("22", OrvoExpandString("<X><Y>", store));
    EXPECT_EQ("2-2+2-2", OrvoExpandString("<All>", store));
}

// The text is searched from its beginning after each replacement, so that a value may begin a reference.
TEST(OrvoExpandString, findsReferencesThatAValueBegins) {
    auto store = properties({"Open=<", "X=1", "Start=a<", "Close=>", "More=b>c<X"});
    EXPECT_EQ("1", OrvoExpandString("<Open>X>", store));
    EXPECT_EQ("a1", OrvoExpandString("<Start>X>", store));
    EXPECT_EQ("ab>c1", OrvoExpandString("a<More>>", store));
    EXPECT_EQ("<a", OrvoExpandString("<Open>a", store));
    EXPECT_EQ("Property not found: X<Close", missingIn("<X<Close>", store));
    EXPECT_EQ("Property not found: a<X", missingIn("<Open>a<X>", store));
    EXPECT_EQ("<b", OrvoExpandString("<Open>b", store));
}

TEST(OrvoExpandString, takesNamesAsTheyAre) {
    auto store = properties({" x =1", "X=2", "x=3", "a\tb=4"});
    EXPECT_EQ("1", OrvoExpandString("< x >", store));
    EXPECT_EQ("23", OrvoExpandString("<X><x>", store));
    EXPECT_EQ("4", OrvoExpandString("<a\tb>", store));
    EXPECT_EQ("Property not found: x ", missingIn("<x >", store));
    EXPECT_EQ("Property not found: ", missingIn("<>", store));
}

TEST(OrvoExpandString, takesTheFirstValueOfAProperty) {
    auto store = properties({"X=1", "X=2"});
    EXPECT_EQ("1", OrvoExpandString("<X>", store));
}

TEST(OrvoExpandString, throwsForAMissingProperty) {
    auto store = properties({"dir=C:\\data"});
    EXPECT_EQ("C:\\data\\log", OrvoExpandString("<dir>\\log", store));
    EXPECT_EQ("Property not found: dir", missingIn("<dir>\\log", properties({})));
    EXPECT_EQ("Property not found: b", missingIn("<dir><b><c>", store));
    EXPECT_EQ("Property not found: Y", missingIn("<X>", properties({"X=<Y>"})));
}

TEST(OrvoExpandString, keepsAnyOtherByte) {
    OrvoProperties<string> store;
    store.addProperty("a\0b"s, "\0\xFF\n"s);
    EXPECT_EQ("\1\0\xFF\n\0"s, OrvoExpandString("\1<a\0b>\0"s, store));
}

TEST(OrvoExpandString, replacesReferencesToTheEnvironment) {
    const Variables variables;
    EXPECT_EQ("", OrvoExpandString(""));
    EXPECT_EQ("abc", OrvoExpandString("abc"));
    EXPECT_EQ("a1b", OrvoExpandString("a<OSUPT_X>b"));
    EXPECT_EQ("22", OrvoExpandString("<OSUPT_W><OSUPT_Y>"));
    EXPECT_EQ("1", OrvoExpandString("<OSUPT_OPEN>OSUPT_X>"));
    EXPECT_EQ("C:\\data\\log", OrvoExpandString("<OSUPT_PATH>\\log"));
    EXPECT_EQ("a<b", OrvoExpandString("a<b"));
    EXPECT_EQ("a>b<c", OrvoExpandString("a>b<c"));
}

TEST(OrvoExpandString, countsAnUndefinedVariableAsEmpty) {
    EXPECT_EQ("ab", OrvoExpandString("a<OSUPT_NO_SUCH_VARIABLE>b"));
    EXPECT_EQ("ab", OrvoExpandString("a<>b"));
    EXPECT_EQ("ab", OrvoExpandString("a< OSUPT_X >b"));
    EXPECT_EQ("ab", OrvoExpandString("a<" + string(100000, 'x') + ">b"));
    EXPECT_EQ("ab", OrvoExpandString("a<=>b"));
}

TEST(OrvoExpandString, asksForTheNameUpToItsFirstNul) {
    const Variables variables;
    EXPECT_EQ("a1b", OrvoExpandString("a<OSUPT_X\0tail>b"s));
}

TEST(OrvoExpandString, tracesWhatItDoes) {
    auto store = properties({"X=<Y>", "Y=2"});
    const LogCapture log;
    OrvoExpandString("a<X>", store);
    EXPECT_THAT(log.records("OrvoExpandString: "),
                ElementsAre("OrvoExpandString: expand = a<X>", "OrvoExpandString: Lookup X",
                            "OrvoExpandString: Lookup Y", "OrvoExpandString: result = a2"));
}

TEST(OrvoExpandString, tracesTheEnvironmentFormAlike) {
    const Variables variables;
    const LogCapture log;
    OrvoExpandString("<OSUPT_X><>");
    EXPECT_THAT(log.records("OrvoExpandString: "),
                ElementsAre("OrvoExpandString: expand = <OSUPT_X><>", "OrvoExpandString: Lookup OSUPT_X",
                            "OrvoExpandString: Lookup ", "OrvoExpandString: result = 1"));
}

TEST(OrvoExpandString, tracesNoResultWithoutOne) {
    OrvoProperties<string> store;
    const LogCapture log;
    EXPECT_THROW(OrvoExpandString("<X>", store), OrvoPropertyNotFound);
    EXPECT_THAT(log.records("OrvoExpandString: "),
                ElementsAre("OrvoExpandString: expand = <X>", "OrvoExpandString: Lookup X"));
}

TEST(OrvoExpandString, isSilentBelowTheMostVerboseLevel) {
    OrvoProperties<string> store;
    const LogCapture log;
    OrvoLogging::getInstance().setLogLevel(8);
    OrvoExpandString("a", store);
    EXPECT_THAT(log.records("OrvoExpandString: "), ElementsAre());
}

// A circle of references turns until somebody breaks it: each value is taken when its turn comes.
TEST(OrvoExpandString, takesEachValueWhenItsTurnComes) {
    auto store = properties({"X=<Y>", "Y=<X>"});
    std::thread breaker([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        store.setProperty("Y", "end");
    });
    EXPECT_EQ("an end", OrvoExpandString("an <X>", store));
    breaker.join();
}

}  // namespace
}  // namespace OrvoSupport
