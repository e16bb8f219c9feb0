#include "os/Wildcard.h"

#include <gtest/gtest.h>

namespace OrvoSupport {
namespace {

TEST(WildcardTest, matchesWholeNames) {
    struct Case {
        const char* pattern;
        const char* name;
        bool expected;
    };
    const Case cases[] = {
        {"a", "a", true},          {"a", "ab", false},          {"a", "A", false},
        {"?", "a", true},          {"?", "ab", false},          {"?", ".", true},
        {"a?", "ab", true},        {"a?", "a", false},          {"a?.txt", "a.txt", false},
        {"*", "", true},           {"*", "..", true},           {"*", ".hidden", true},
        {"*.txt", "a.txt", true},  {"*.txt", ".txt", true},     {"*.txt", "a.txt2", false},
        {"*.txt", "a.TXT", false}, {"a*b*c", "abc", true},      {"a*b*c", "aXbXbXc", true},
        {"a*b*c", "aXbX", false},  {"**a**", "xax", true},      {"*a?b*", "aab", true},
        {"*aab", "aaaab", true},   {"?*?", "ab", true},         {"?*?", "a", false},
        {"[ab]", "a", false},      {"[ab]", "[ab]", true},      {"{a,b}", "a", false},
        {"!a", "!a", true},        {"\\*", "*", false},         {"*.", "a.", true},
        {"*.", "a", false},        {"\xE4*", "\xE4\xFF", true}, {"?", "\xFF", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.pattern) + " and " + c.name);
        EXPECT_EQ(c.expected, Wildcard(c.pattern).matches(c.name));
    }
}

TEST(WildcardTest, anyExtensionMayBeNoExtension) {
    struct Case {
        const char* pattern;
        const char* name;
        bool expected;
    };
    const Case cases[] = {
        {"*.*", "a", true},   {"*.*", "a.b", true}, {"*.*", "..", true},  {"a.*", "a", true},
        {"a.*", "a.b", true}, {"a.*", "ab", false}, {"a*.*", "ab", true}, {"a*.*", "b", false},
        {"a.*b", "a", false}, {".*", "a", false},   {".*", ".a", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.pattern) + " and " + c.name);
        EXPECT_EQ(c.expected, Wildcard(c.pattern).matches(c.name));
    }
}

TEST(WildcardTest, manyStarsDoNotMultiplyTheWork) {
    // Tried in every combination, these would outlast the time limit of the test many times over.
    std::string stars;
    for (int i = 0; i < 100; ++i) stars += "*a";
    const std::string name(250, 'a');

    EXPECT_TRUE(Wildcard(stars).matches(name.c_str()));
    EXPECT_FALSE(Wildcard(stars + "b").matches(name.c_str()));
    EXPECT_TRUE(Wildcard(std::string(100000, '*')).matches(name.c_str()));
}

TEST(WildcardTest, knowsPlainNames) {
    EXPECT_TRUE(Wildcard("a[1].txt").isPlainName());
    EXPECT_FALSE(Wildcard("a?").isPlainName());
    EXPECT_FALSE(Wildcard("*").isPlainName());
}

}  // namespace
}  // namespace OrvoSupport
