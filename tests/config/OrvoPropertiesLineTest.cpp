#include "config/PropertyTexts.h"

using namespace std::string_view_literals;

namespace OrvoSupport {
namespace {

template <class S>
class OrvoPropertiesLineTest : public testing::Test {};
TYPED_TEST_SUITE(OrvoPropertiesLineTest, AllStrings, StringName);

TYPED_TEST(OrvoPropertiesLineTest, readsALine) {
    struct Case {
        const char* what;
        std::string_view line;
        std::string_view expected;
    };
    const Case cases[] = {
        {"plain", "key=value", "key=value;"},
        {"comment", "#key=value", ""},
        {"comment sign alone", "#", ""},
        {"comment sign behind a blank", " #key=value", " #key=value;"},
        {"nothing", "", ""},
        {"no value", "key=", "key=;"},
        {"no key", "=value", ""},
        {"separator alone", "=", ""},
        {"no separator", "justakey", "justakey=;"},
        {"no separator, return kept", "justakey\r", "justakey\r=;"},
        {"return alone", "\r", "\r=;"},
        {"blanks alone", "  ", "  =;"},
        {"leading blanks go, trailing stay", "key=   a b  ", "key=a b  ;"},
        {"blanks only", "key=   ", "key=;"},
        {"blanks and return", "key=   \r", "key=;"},
        {"a tab is no blank", "key=\ta", "key=\ta;"},
        {"a tab behind a blank", "key= \ta", "key=\ta;"},
        {"the key is not trimmed", " name = x", " name =x;"},
        {"the first separator splits", "a=b=c", "a=b=c;"},
        {"comment sign in the value", "a=#b", "a=#b;"},
        {"cut at a return", "a=b\rc", "a=b;"},
        {"cut at the first return", "a=b\rc\rd", "a=b;"},
        {"cut at a line feed", "a=b\nc", "a=b;"},
        {"a return goes before a line feed", "a=b\nc\rd", "a=b\nc;"},
        {"return and line feed", "a=b\r\n", "a=b;"},
        {"return in the key", "a\rb=c\rd", "a\rb=c\rd;"},
        {"return in the key, feed in the value", "a\rb=c\nd", "a\rb=c\nd;"},
        {"line feed in the key", "a\nb=c\nd", "a\nb=c\nd;"},
        {"return in front of all", "\ra=b", "\ra=b;"},
        {"return right behind the separator", "a=\rb", "a=;"},
        {"NUL characters", "a\0b=c\0d"sv, "a\0b=c\0d;"sv},
        {"high characters", "\xE4=\xFF\x80", "\xE4=\xFF\x80;"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.expected, fromLine<TypeParam>(c.line));
    }
}

TYPED_TEST(OrvoPropertiesLineTest, readsALineWithAnotherSeparator) {
    EXPECT_EQ("a=b=1:2;", fromLine<TypeParam>("a:b=1:2", ':'));
    EXPECT_EQ("a=b;", fromLine<TypeParam>("a\xA7"
                                          "b",
                                          '\xA7'));
    EXPECT_EQ("", fromLine<TypeParam>("#a#b", '#'));
    EXPECT_EQ("aXb=c;", fromLine<TypeParam>("aXbxc", 'x'));
}

TYPED_TEST(OrvoPropertiesLineTest, addsALineLikeAKeyAndAValue) {
    OrvoProperties<TypeParam> multi;
    OrvoProperties<TypeParam> single(false);
    for (OrvoProperties<TypeParam>* store : {&multi, &single}) {
        store->addProperty(text<TypeParam>("a=1"), '=');
        store->addProperty(text<TypeParam>("a= 2"), '=');
    }

    EXPECT_EQ("a=1,2;", contents(multi));
    EXPECT_EQ("a=2;", contents(single));
}

}  // namespace
}  // namespace OrvoSupport
