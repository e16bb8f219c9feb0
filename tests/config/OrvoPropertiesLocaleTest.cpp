// Stores that ignore case while the C locale, which says what case is, changes under them.
#include <clocale>

#include "config/PropertyTexts.h"

namespace OrvoSupport {
namespace {

// The C locale of characters for the length of a test.
class CharacterLocale {
public:
    CharacterLocale() : m_before(std::setlocale(LC_CTYPE, nullptr)) { std::setlocale(LC_CTYPE, "C"); }
    ~CharacterLocale() { std::setlocale(LC_CTYPE, m_before.c_str()); }
    CharacterLocale(const CharacterLocale&) = delete;
    CharacterLocale& operator=(const CharacterLocale&) = delete;

    // True once it knows upper and lower case of the letters behind ASCII.
    template <class S>
    bool becomeOneThatFolds() {
        for (const char* name : {"C.UTF-8", "de_DE.ISO-8859-1", "de_DE", "German_Germany.1252", "de-DE"})
            if (std::setlocale(LC_CTYPE, name) && text<S>("\xC4") == text<S>("\xE4")) return true;
        return false;
    }

private:
    std::string m_before;
};

template <class S>
class OrvoPropertiesLocaleTest : public testing::Test {
protected:
    void SetUp() override {
        if (text<S>("\xC4") == text<S>("\xE4")) GTEST_SKIP() << "the classic locale folds these letters";
        CharacterLocale other;
        if (!other.becomeOneThatFolds<S>()) GTEST_SKIP() << "no locale here folds these letters";
    }
    CharacterLocale locale;
};
TYPED_TEST_SUITE(OrvoPropertiesLocaleTest, CaseInsensitiveStrings, StringName);

TYPED_TEST(OrvoPropertiesLocaleTest, findsAKeyAsTheLocaleOfTheMomentFolds) {
    OrvoProperties<TypeParam> store;
    store.addProperty(text<TypeParam>("K\xC4se=1"), '=');
    EXPECT_TRUE(store.getPropertyValues(text<TypeParam>("k\xE4SE")).empty());

    ASSERT_TRUE(this->locale.template becomeOneThatFolds<TypeParam>());
    store.addProperty(text<TypeParam>("k\xE4SE=2"), '=');
    EXPECT_EQ("K\xC4se=1,2;", contents(store));
    store.removeProperty(text<TypeParam>("k\xE4se"));
    EXPECT_EQ("", contents(store));
}

TYPED_TEST(OrvoPropertiesLocaleTest, sortsAsTheLocaleFolds) {
    const auto store = [] {
        OrvoProperties<TypeParam> made;
        for (const char* line : {"\xC6=1", "\xE4=2", "Z=3"}) made.addProperty(text<TypeParam>(line), '=');
        return contents(made);
    };
    EXPECT_EQ("Z=3;\xC6=1;\xE4=2;", store());

    ASSERT_TRUE(this->locale.template becomeOneThatFolds<TypeParam>());
    EXPECT_EQ("Z=3;\xE4=2;\xC6=1;", store());
}

}  // namespace
}  // namespace OrvoSupport
