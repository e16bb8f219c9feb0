// Bytes to hexadecimal text and back.
#include <gtest/gtest.h>

#include <cstring>

#include "OrvoTokenizer.h"

namespace OrvoSupport {
namespace {

string bytesOf(const string& hex) {
    string dest(hex.size() / 2, '#');
    EXPECT_EQ(static_cast<int>(hex.size() / 2), OrvoHexToBytes(dest.data(), hex));
    return dest;
}

string allBytes() {
    string bytes;
    for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
    return bytes;
}

TEST(HexTest, bytesBecomeTwoUpperCaseDigitsEach) {
    EXPECT_EQ("00AB7F", OrvoBytesToHex("\x00\xAB\x7F", 3));
    EXPECT_EQ("FF", OrvoBytesToHex("\xFF", 1));
    EXPECT_EQ("0123456789ABCDEF", OrvoBytesToHex("\x01\x23\x45\x67\x89\xAB\xCD\xEF", 8));
}

TEST(HexTest, noBytesBecomeTheEmptyText) {
    EXPECT_EQ("", OrvoBytesToHex("abc", 0));
    EXPECT_EQ("", OrvoBytesToHex("abc", -1));
    EXPECT_EQ("", OrvoBytesToHex(nullptr, 0));
}

TEST(HexTest, digitsOfEitherCaseBecomeBytes) {
    EXPECT_EQ(string("\x00\xAB\x7F", 3), bytesOf("00ab7F"));
    EXPECT_EQ("\xAB\xCD\xEF", bytesOf("abcdef"));
    EXPECT_EQ("\xAB\xCD\xEF", bytesOf("ABCDEF"));
}

TEST(HexTest, anOddDigitAtTheEndIsIgnored) {
    EXPECT_EQ("\xAB", bytesOf("abc"));
    EXPECT_EQ("", bytesOf("a"));
    EXPECT_EQ(0, OrvoHexToBytes(nullptr, ""));
    EXPECT_EQ(0, OrvoHexToBytes(nullptr, "a"));
}

TEST(HexTest, writesExactlyTheBytesItReports) {
    char dest[] = "####";
    EXPECT_EQ(2, OrvoHexToBytes(dest, "41425"));
    EXPECT_STREQ("AB##", dest);
}

TEST(HexTest, everyByteSurvivesTheRoundTrip) {
    const string bytes = allBytes();
    const string hex = OrvoBytesToHex(bytes.data(), static_cast<int>(bytes.size()));
    EXPECT_EQ(512u, hex.size());
    EXPECT_EQ(bytes, bytesOf(hex));
}

// Nobody checks digits, so callers see the bare arithmetic: the high half keeps four bits, the low half all.
TEST(HexTest, otherCharactersFollowTheArithmetic) {
    EXPECT_EQ(string(1, '\0'), bytesOf("G0"));
    EXPECT_EQ("\x1F", bytesOf("0V"));
    EXPECT_EQ(string(1, static_cast<char>(0xFA)), bytesOf("/*"));
}

// What callers have always got for each pair of characters, those beyond ASCII among them.
TEST(HexTest, everyPairOfCharactersFollowsTheArithmetic) {
    const auto upper = [](int c) { return c >= 'a' ? c - 32 : c; };
    for (int first = -128; first < 128; ++first) {
        const int high = upper(first) >= 'A' ? upper(first) - 55 : upper(first);
        for (int second = -128; second < 128; ++second) {
            const int low = upper(second) >= 'A' ? upper(second) - 55 : upper(second) - 48;
            const int expected = ((high & 15) * 16) | low;
            const string hex = {static_cast<char>(first), static_cast<char>(second)};
            ASSERT_EQ(static_cast<char>(expected), bytesOf(hex)[0]) << first << ' ' << second;
        }
    }
}

TEST(HexTest, everyPairOfCharactersIsDecodedByItself) {
    const string bytes = allBytes();
    for (const char first : bytes) {
        string hex;
        for (const char second : bytes) (hex += first) += second;
        string expected;
        for (std::size_t i = 0; i < 256; ++i) expected += bytesOf(hex.substr(2 * i, 2));
        EXPECT_EQ(expected, bytesOf(hex));
    }
}

}  // namespace
}  // namespace OrvoSupport
