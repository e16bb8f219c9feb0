// The system's words for its error codes.
#include <gmock/gmock.h>

#include <limits>

#include "OrvoLibrary.h"

using namespace OrvoSupport;

namespace {

const int fileNotFound = 2;  // on every system

string messageOf(int code) {
    string text = "what was there before";
    OrvoGetOSErrorMessage(code, text);
    return text;
}

wstring wideMessageOf(int code) {
    wstring text = L"what was there before";
    OrvoGetOSErrorMessage(code, text);
    return text;
}

}  // namespace

TEST(OrvoGetOSErrorMessage, givesTheSystemsTextWithoutWhiteSpaceAroundIt) {
    const string text = messageOf(fileNotFound);
    ASSERT_THAT(text, testing::HasSubstr("ile"));
    EXPECT_EQ(string::npos, text.find_last_of(" \t\r\n", 0));
    EXPECT_EQ(text.size() - 1, text.find_last_not_of(" \t\r\n"));
}

TEST(OrvoGetOSErrorMessage, saysTheSameInWideText) {
    for (const int code : {0, 1, fileNotFound, 5, 12, -1, 1 << 29}) {
        const string text = messageOf(code);
        EXPECT_EQ(wstring(text.begin(), text.end()), wideMessageOf(code)) << code;
    }
}

TEST(OrvoGetOSErrorMessage, knowsTheCodeOfSuccess) {
    EXPECT_THAT(messageOf(0), testing::Not(testing::HasSubstr("Unrecognized")));
}

TEST(OrvoGetOSErrorMessage, givesCodesWithoutTextInDecimalAndHexadecimal) {
    EXPECT_EQ("Unrecognized error code: -1 (0xffffffff)", messageOf(-1));
    EXPECT_EQ(L"Unrecognized error code: -1 (0xffffffff)", wideMessageOf(-1));
    EXPECT_EQ("Unrecognized error code: 536870912 (0x20000000)", messageOf(1 << 29));
    EXPECT_EQ("Unrecognized error code: 123456 (0x0001e240)", messageOf(123456));
}

TEST(OrvoGetOSErrorMessage, neverFails) {
    for (int code = -300; code <= 300; ++code) EXPECT_FALSE(messageOf(code).empty()) << code;
    EXPECT_EQ("Unrecognized error code: 2147483647 (0x7fffffff)", messageOf(std::numeric_limits<int>::max()));
    EXPECT_FALSE(messageOf(std::numeric_limits<int>::min()).empty());
}
