// The conversions of C-style buffers. Test programs run in the C locale until one of these changes it.
#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <clocale>
#include <cstdio>
#include <cwchar>
#include <string>
#include <thread>
#include <vector>

#include "OrvoStringUtilities.h"

namespace OrvoSupport {
namespace {

TEST(StringBuffersTest, aStringEndsAtTheFirstNul) {
    EXPECT_EQ("ab", OrvoStringFromChar("ab\0cd"));
    EXPECT_EQ("", OrvoStringFromChar(""));
    EXPECT_EQ("", OrvoStringFromChar(nullptr));
}

TEST(StringBuffersTest, narrowsWideText) {
    EXPECT_EQ("", OrvoStringFromWideChar(nullptr));
    EXPECT_EQ("", OrvoStringFromWideChar(L""));
    EXPECT_EQ("a", OrvoStringFromWideChar(L"a"));
    EXPECT_EQ("ab", OrvoStringFromWideChar(L"ab\0cd"));
    EXPECT_EQ(string(100000, 'x'), OrvoStringFromWideChar(wstring(100000, L'x').c_str()));
}

TEST(StringBuffersTest, narrowsAsTheCLibraryFormats) {
    const wchar_t* const texts[] = {L"100 %d %s %n", L"Fu\x00DF, 5", L"abc\x4E2D!"};
    for (const wchar_t* text : texts) {
        char expected[64] = {};
        std::snprintf(expected, sizeof expected, "%ls", text);
        EXPECT_EQ(expected, OrvoStringFromWideChar(text));
    }
}

TEST(StringBuffersTest, narrowsInTheCurrentLocaleAndCutsNothing) {
    const string before = std::setlocale(LC_CTYPE, nullptr);
    if (!std::setlocale(LC_CTYPE, "C.UTF-8")) GTEST_SKIP() << "the system has no UTF-8 locale";
    const string euros = OrvoStringFromWideChar(L"\x20AC\x20AC");
    wchar_t dest[8] = {};
    OrvoStringToWideChar("\xE2\x82\xAC!", dest, 8);
    std::setlocale(LC_CTYPE, before.c_str());

    EXPECT_EQ("\xE2\x82\xAC\xE2\x82\xAC", euros);
    EXPECT_EQ(wstring(L"\x20AC!"), dest);
}

TEST(StringBuffersTest, narrowsOnManyThreadsAtOnceFromTheFirstCallOn) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&wrong, i] {
            const std::size_t size = static_cast<std::size_t>(i) * 100 + 1;
            for (int round = 0; round < 500; ++round)
                if (OrvoStringFromWideChar(wstring(size, L'x').c_str()) != string(size, 'x')) ++wrong;
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, wrong);
}

TEST(StringBuffersTest, copiesOnlyWhatFitsWithItsNul) {
    char dest[8] = "#######";
    EXPECT_EQ(nullptr, OrvoStringToChar("abc", dest, 3));
    EXPECT_STREQ("#######", dest);
    EXPECT_EQ(dest, OrvoStringToChar("abc", dest, 4));
    EXPECT_STREQ("abc", dest);
    EXPECT_EQ('#', dest[4]);
}

TEST(StringBuffersTest, copiesNothingWithoutADestination) {
    char dest[8] = "#######";
    EXPECT_EQ(nullptr, OrvoStringToChar("abc", nullptr, 100));
    EXPECT_EQ(nullptr, OrvoStringToChar("", dest, 0));
    EXPECT_EQ(nullptr, OrvoStringToChar("", dest, -1));
    EXPECT_STREQ("#######", dest);
    EXPECT_EQ(dest, OrvoStringToChar("", dest, 1));
    EXPECT_STREQ("", dest);
}

TEST(StringBuffersTest, copiesNulsAlong) {
    char dest[8] = "#######";
    EXPECT_EQ(dest, OrvoStringToChar(string("a\0b", 3), dest, 4));
    EXPECT_EQ(string("a\0b\0###", 7), string(dest, 7));
}

TEST(StringBuffersTest, widensOnlyWhatFitsWithItsNul) {
    wchar_t dest[8] = L"#######";
    EXPECT_EQ(nullptr, OrvoStringToWideChar("abc", dest, 3));
    EXPECT_EQ(nullptr, OrvoStringToWideChar("", dest, 0));
    EXPECT_EQ(nullptr, OrvoStringToWideChar("", dest, -1));
    EXPECT_EQ(nullptr, OrvoStringToWideChar("abc", nullptr, 100));
    EXPECT_EQ(wstring(L"#######"), dest);
    EXPECT_EQ(dest, OrvoStringToWideChar("abc", dest, 4));
    EXPECT_EQ(wstring(L"abc"), dest);
    EXPECT_EQ(L'#', dest[4]);
}

TEST(StringBuffersTest, widensAsTheCLibraryFormats) {
    for (const char* text : {"100 %d %s %n", "Fu\xDF, 5", "\x80\xFF"}) {
        wchar_t expected[64] = {};
        if (std::swprintf(expected, 64, L"%hs", text) < 0) expected[0] = L'\0';
        wchar_t dest[64] = L"#";
        EXPECT_EQ(dest, OrvoStringToWideChar(text, dest, 64));
        EXPECT_EQ(wstring(expected), dest);
    }
}

TEST(StringBuffersTest, widensIllFormedTextToATextThatEnds) {
    const string before = std::setlocale(LC_CTYPE, nullptr);
    if (!std::setlocale(LC_CTYPE, "C.UTF-8")) GTEST_SKIP() << "the system has no UTF-8 locale";
    wchar_t dest[8] = L"#######";
    const wchar_t* const result = OrvoStringToWideChar("ab\xFFz", dest, 5);
    std::setlocale(LC_CTYPE, before.c_str());

    EXPECT_EQ(dest, result);
    EXPECT_GT(5u, std::wcslen(dest));
    EXPECT_EQ(wstring(L"##"), wstring(dest + 5, 2));
}

TEST(StringBuffersTest, theRoomMayBeAsLargeAsAnIntHolds) {
    char narrow[4] = "###";
    wchar_t wide[4] = L"###";
    EXPECT_EQ(narrow, OrvoStringToChar("ab", narrow, INT_MAX));
    EXPECT_EQ(string("ab"), narrow);
    EXPECT_EQ(wide, OrvoStringToWideChar("ab", wide, INT_MAX));
    EXPECT_EQ(wstring(L"ab"), wide);
    EXPECT_EQ(nullptr, OrvoStringToChar("ab", narrow, INT_MIN));
    EXPECT_EQ(nullptr, OrvoStringToWideChar("ab", wide, INT_MIN));
}

TEST(StringBuffersTest, widensUpToTheFirstNul) {
    wchar_t dest[8] = L"#######";
    EXPECT_EQ(dest, OrvoStringToWideChar(string("a\0b", 3), dest, 4));
    EXPECT_EQ(wstring(L"a"), dest);
    EXPECT_EQ(dest, OrvoStringToWideChar("", dest, 1));
    EXPECT_EQ(wstring(), dest);
    EXPECT_EQ(dest, OrvoStringToWideChar("%d %s", dest, 8));
    EXPECT_EQ(wstring(L"%d %s"), dest);
}

}  // namespace
}  // namespace OrvoSupport
