// The string types that pay no regard to case. Test programs run in the C locale.
#include "OrvoString.h"

#include <gtest/gtest.h>

#include <clocale>
#include <map>

namespace OrvoSupport {
namespace {

int sign(int number) { return (number > 0) - (number < 0); }

TEST(OrvoStringTest, textsCompareByTheirLowerCaseForms) {
    struct Case {
        const char* a;
        const char* b;
        int expected;
    };
    const Case cases[] = {
        {"", "", 0},       {"abc", "ABC", 0}, {"abc", "abd", -1}, {"ABD", "abc", 1},  {"ab", "ABC", -1},
        {"abc", "AB", 1},  {"_", "a", -1},    {"_", "A", -1},     {"[", "a", -1},     {"Z", "[", 1},
        {"a", "\xE4", -1}, {"\xE4", "z", 1},  {"", "a", -1},      {"aXb", "AxC", -1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.expected, sign(string_ci(c.a).compare(c.b))) << c.a << ' ' << c.b;
        EXPECT_EQ(-c.expected, sign(string_ci(c.b).compare(c.a))) << c.a << ' ' << c.b;
        EXPECT_EQ(c.expected == 0, string_ci(c.a) == c.b) << c.a << ' ' << c.b;
        EXPECT_EQ(c.expected < 0, string_ci(c.a) < c.b) << c.a << ' ' << c.b;
    }
}

TEST(OrvoStringTest, wideTextsDoToo) {
    EXPECT_TRUE(wstring_ci(L"Key") == L"kEY");
    EXPECT_TRUE(wstring_ci(L"key") < L"KEYS");
    EXPECT_TRUE(wstring_ci(L"_") < L"A");
    EXPECT_FALSE(wstring_ci(L"\x4E2D") == L"\x4E2E");
}

TEST(OrvoStringTest, findingPaysNoRegardToCase) {
    const string_ci text = "One Two one";
    EXPECT_EQ(4u, text.find("tWO"));
    EXPECT_EQ(8u, text.rfind("ONE"));
    EXPECT_EQ(1u, text.find('N'));
    EXPECT_EQ(string_ci::npos, text.find("three"));
    EXPECT_EQ(3u, text.find_first_not_of("ENO"));
    EXPECT_EQ(2u, wstring_ci(L"abC").find(L'c'));
}

TEST(OrvoStringTest, nulsAreComparedLikeOtherCharacters) {
    EXPECT_TRUE(string_ci("a\0B", 3) == string_ci("A\0b", 3));
    EXPECT_TRUE(string_ci("a\0b", 3) < string_ci("A\0C", 3));
    EXPECT_TRUE(string_ci("a", 1) < string_ci("A\0", 2));
}

TEST(OrvoStringTest, aMapKeepsTheFirstSpellingOfAKey) {
    std::map<string_ci, int> map;
    map["Port"] = 1;
    map["PORT"] = 2;
    ASSERT_EQ(1u, map.size());
    EXPECT_STREQ("Port", map.begin()->first.c_str());
    EXPECT_EQ(2, map["port"]);
}

TEST(OrvoStringTest, theCurrentLocaleFolds) {
    EXPECT_FALSE(wstring_ci(L"\x0416") == L"\x0436");
    const string before = std::setlocale(LC_CTYPE, nullptr);
    if (!std::setlocale(LC_CTYPE, "C.UTF-8")) GTEST_SKIP() << "the system has no UTF-8 locale";
    const bool equal = wstring_ci(L"\x0416") == L"\x0436";
    std::setlocale(LC_CTYPE, before.c_str());
    EXPECT_TRUE(equal);
}

}  // namespace
}  // namespace OrvoSupport
