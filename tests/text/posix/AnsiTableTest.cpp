// Code pages other than the default, whose tables come from the C library.
#include "platform/posix/AnsiTable.h"

#include <gtest/gtest.h>

#include <memory>

namespace OrvoSupport::platform {
namespace {

TEST(AnsiTableTest, convertsWithTheNamedCodePage) {
    const auto table = std::make_unique<AnsiTable>("CP1251");
    EXPECT_EQ(L'\x0416', table->widen('\xC6'));
    EXPECT_EQ('\xC6', table->narrow(L'\x0416'));
    EXPECT_EQ(L'\x0098', table->widen('\x98'));  // not defined there
    EXPECT_EQ('?', table->narrow(L'\x00E4'));
    EXPECT_EQ('a', table->narrow(L'a'));
}

TEST(AnsiTableTest, keepsTheNumbersOfBytesWhenNobodyKnowsTheName) {
    const auto table = std::make_unique<AnsiTable>("NO-SUCH-PAGE");
    for (int byte = 0; byte < 256; ++byte) {
        EXPECT_EQ(static_cast<wchar_t>(byte), table->widen(static_cast<char>(byte)));
        EXPECT_EQ(static_cast<char>(byte), table->narrow(static_cast<wchar_t>(byte)));
    }
    EXPECT_EQ('?', table->narrow(L'\x20AC'));
}

TEST(AnsiTableTest, takesNoMultiByteCharacters) {
    const auto table = std::make_unique<AnsiTable>("CP932");
    EXPECT_EQ(L'\x0081', table->widen('\x81'));  // a lead byte
    EXPECT_EQ(L'\xFF71', table->widen('\xB1'));  // a half-width letter of one byte
    EXPECT_EQ('?', table->narrow(L'\x4E2D'));
}

TEST(AnsiTableTest, narrowsNegativeAndHugeValuesToQuestionMarks) {
    const auto table = std::make_unique<AnsiTable>("CP1252");
    for (const int value : {-1, -65, 0x10000, 0x10FFFF, 0x7FFFFFFF})
        EXPECT_EQ('?', table->narrow(static_cast<wchar_t>(value))) << value;
}

}  // namespace
}  // namespace OrvoSupport::platform
