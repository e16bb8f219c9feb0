#include "OrvoException.h"

#include <gtest/gtest.h>

namespace OrvoSupport {
namespace {

TEST(OrvoExceptionTest, holdsTheTextWideAndAsTheBottomOfTheStack) {
    const OrvoException exception("disk full", 5);

    EXPECT_EQ(5, exception.getCode());
    EXPECT_EQ(L"disk full", exception.getUText());
    EXPECT_EQ("disk full", exception.getText());
    EXPECT_EQ(1u, exception.getCallStack().size());
    EXPECT_EQ(L"disk full", exception.getFormattedMessages());
}

TEST(OrvoExceptionTest, joinsMessagesNewestFirst) {
    OrvoException exception("disk full", 5);
    exception.pushMessage(L"while saving");

    EXPECT_EQ(L"while saving\ndisk full", exception.getFormattedMessages());
    EXPECT_EQ(L"while saving", exception.popMessage());
    EXPECT_EQ(1u, exception.getCallStack().size());
}

TEST(OrvoExceptionTest, leavesTheLibraryAsItself) {
    // Thrown inside the library, caught here: both must share the run-time library's type information.
    EXPECT_THROW(throw OrvoPropertyNotFound("port"), OrvoException);
}

}  // namespace
}  // namespace OrvoSupport
