#include "OrvoException.h"

#include <gtest/gtest.h>

#include <locale>
#include <stdexcept>
#include <type_traits>

#include "OrvoLocaleFactory.h"
#include "OrvoStringUtilities.h"

namespace OrvoSupport {
namespace {

// What an exception holds, for comparing in one go.
void expectState(const OrvoException& exception, const wstring& text, int code, std::size_t messages) {
    EXPECT_EQ(text, exception.getUText());
    EXPECT_EQ(code, exception.getCode());
    EXPECT_EQ(messages, exception.getCallStack().size());
}

TEST(OrvoExceptionTest, isEmptyWithoutAText) {
    expectState(OrvoException(), L"", 0, 0);
    expectState(OrvoException(7), L"", 7, 0);
    EXPECT_EQ(L"", OrvoException(7).getFormattedMessages());
    EXPECT_EQ("", OrvoException().getText());
}

TEST(OrvoExceptionTest, holdsTheTextWideAndAsTheBottomOfTheStack) {
    const OrvoException exception("disk full", 5);

    expectState(exception, L"disk full", 5, 1);
    EXPECT_EQ("disk full", exception.getText());
    EXPECT_EQ(L"disk full", exception.getCallStack().top());
    EXPECT_EQ(L"disk full", exception.getFormattedMessages());
}

TEST(OrvoExceptionTest, takesWideAndNarrowTextAlike) {
    expectState(OrvoException(string("disk full")), L"disk full", 0, 1);
    expectState(OrvoException(wstring(L"disk full"), -3), L"disk full", -3, 1);
    expectState(OrvoException(L"disk full"), L"disk full", 0, 1);
    expectState(OrvoException(""), L"", 0, 1);
}

TEST(OrvoExceptionTest, joinsMessagesNewestFirst) {
    OrvoException exception("disk full", 5);
    exception.pushMessage(L"while saving");

    EXPECT_EQ(L"while saving\ndisk full", exception.getFormattedMessages());
    EXPECT_EQ(2u, exception.getCallStack().size());
    EXPECT_EQ(L"while saving", exception.popMessage());
    EXPECT_EQ(1u, exception.getCallStack().size());
}

TEST(OrvoExceptionTest, joiningLeavesTheMessagesInPlace) {
    OrvoException exception("first");
    exception.pushMessage(L"second");

    EXPECT_EQ(exception.getFormattedMessages(), exception.getFormattedMessages());
    EXPECT_EQ(2u, exception.getCallStack().size());
}

TEST(OrvoExceptionTest, anEmptyMessageGivesAnEmptyLineUnlessItComesFirst) {
    OrvoException exception("bottom");
    exception.pushMessage(L"");
    EXPECT_EQ(L"bottom", exception.getFormattedMessages());

    exception.pushMessage(L"top");
    EXPECT_EQ(L"top\n\nbottom", exception.getFormattedMessages());
}

TEST(OrvoExceptionTest, aNewTextLeavesTheStackAlone) {
    OrvoException exception("old", 1);

    exception.setText(string("narrow"));
    EXPECT_EQ(L"narrow", exception.getUText());
    exception.setText(wstring(L"wide"));
    EXPECT_EQ("wide", exception.getText());
    EXPECT_EQ(L"old", exception.getFormattedMessages());
    EXPECT_EQ(1, exception.getCode());
}

TEST(OrvoExceptionTest, keepsTheCodeItIsGiven) {
    OrvoException exception("text", 5);
    exception.setCode(-2147483647 - 1);
    expectState(exception, L"text", -2147483647 - 1, 1);
}

TEST(OrvoExceptionTest, aCopyHasAStackOfItsOwn) {
    OrvoException original("disk full", 5);
    original.pushMessage(L"while saving");
    OrvoException copy(original);
    OrvoException assigned;
    assigned = original;

    EXPECT_EQ(L"while saving", copy.popMessage());
    assigned.popMessage();
    assigned.popMessage();

    expectState(copy, L"disk full", 5, 1);
    expectState(assigned, L"disk full", 5, 0);
    EXPECT_EQ(L"while saving\ndisk full", original.getFormattedMessages());
}

TEST(OrvoExceptionTest, assigningToItselfChangesNothing) {
    OrvoException exception("disk full", 5);
    exception.pushMessage(L"while saving");
    const OrvoException& same = exception;
    exception = same;

    expectState(exception, L"disk full", 5, 2);
    EXPECT_EQ(L"while saving\ndisk full", exception.getFormattedMessages());
}

TEST(OrvoExceptionTest, isARootClassOfItsOwn) {
    EXPECT_FALSE((std::is_base_of_v<std::exception, OrvoException>));
    EXPECT_TRUE(std::has_virtual_destructor_v<OrvoException>);
    EXPECT_TRUE((std::is_convertible_v<OrvoPropertyNotFound*, OrvoException*>));
}

TEST(OrvoExceptionTest, subclassesPutTheirPrefixInFrontOfTheText) {
    expectState(OrvoInvalidDateException("bad month"), L"OrvoInvalidDateException - bad month", 0, 1);
    expectState(OrvoKeyDataNotSupportedException("type 7"), L"OrvoKeyDataNotSupportedException - type 7", 0,
                1);
    expectState(OrvoPropertyNotFound("port"), L"Property not found: port", 0, 1);
    EXPECT_EQ(L"Property not found: port", OrvoPropertyNotFound("port").getFormattedMessages());
}

TEST(OrvoExceptionTest, aMissingPropertyIsNamedByAnyKindOfString) {
    expectState(OrvoPropertyNotFound(), L"", 0, 0);
    expectState(OrvoPropertyNotFound(string("port")), L"Property not found: port", 0, 1);
    expectState(OrvoPropertyNotFound(string_ci("Port")), L"Property not found: Port", 0, 1);
    expectState(OrvoPropertyNotFound(wstring(L"port")), L"Property not found: port", 0, 1);
    expectState(OrvoPropertyNotFound(wstring_ci(L"Port")), L"Property not found: Port", 0, 1);
    expectState(OrvoPropertyNotFound(L"port"), L"Property not found: port", 0, 1);
}

TEST(OrvoExceptionTest, aWideNameIsNarrowedFirst) {
    const wstring name = L"\u4e2d";  // in no single-byte code page
    const OrvoPropertyNotFound exception(name);
    const string narrowed = OrvoStringUtilities::narrow(name, OrvoLocaleFactory::getDefaultLocale());

    EXPECT_NE(L"Property not found: " + name, exception.getUText());
    EXPECT_EQ("Property not found: " + narrowed, exception.getText());
    EXPECT_EQ(exception.getUText(), exception.getCallStack().top());
}

TEST(OrvoExceptionTest, takesItsOwnPartsAsArguments) {
    OrvoException exception("disk full", 5);
    exception.pushMessage(exception.getUText());
    exception.pushMessage(exception.getCallStack().top());
    exception.setText(exception.getUText());

    expectState(exception, L"disk full", 5, 3);
    EXPECT_EQ(L"disk full\ndisk full\ndisk full", exception.getFormattedMessages());
}

TEST(OrvoExceptionTest, subclassesCopyAndAssign) {
    OrvoPropertyNotFound missing("port");
    missing.pushMessage(L"while starting");
    const OrvoPropertyNotFound copy(missing);
    OrvoPropertyNotFound assigned;
    assigned = missing;

    EXPECT_EQ(L"while starting\nProperty not found: port", copy.getFormattedMessages());
    EXPECT_EQ(copy.getFormattedMessages(), assigned.getFormattedMessages());
}

// Makes the library throw: a conversion with it fails inside.
class FailingFacet : public std::ctype<wchar_t> {
protected:
    using std::ctype<wchar_t>::do_widen;
    const char* do_widen(const char*, const char*, wchar_t*) const override {
        throw std::runtime_error("no memory card");
    }
};

TEST(OrvoExceptionTest, thrownInsideTheLibraryIsCaughtOutside) {
    const std::locale failing(std::locale::classic(), new FailingFacet);
    try {
        OrvoStringUtilities::widen("text", failing);
        FAIL() << "nothing was thrown";
    } catch (const OrvoException& exception) {
        EXPECT_EQ(0, exception.getCode());
        EXPECT_NE(string::npos, exception.getText().find("no memory card"));
    }
}

TEST(OrvoExceptionTest, aRethrownCopyKeepsItsClass) {
    const auto addContextAndRethrow = [] {
        try {
            throw OrvoPropertyNotFound("port");
        } catch (OrvoException& exception) {
            exception.pushMessage(L"while starting");
            throw;
        }
    };
    try {
        addContextAndRethrow();
        FAIL() << "nothing was thrown";
    } catch (const OrvoPropertyNotFound& exception) {
        EXPECT_EQ(L"while starting\nProperty not found: port", exception.getFormattedMessages());
    }
}

}  // namespace
}  // namespace OrvoSupport
