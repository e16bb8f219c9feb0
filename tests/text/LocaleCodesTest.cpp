// Language and country codes by the names that locales have on different systems.
#include "text/LocaleCodes.h"

#include <gtest/gtest.h>

using OrvoSupport::LocaleCodes;

namespace {

struct Case {
    const char* name;
    const char* language;
    const char* country;
};

void expectCodes(std::initializer_list<Case> cases) {
    const LocaleCodes codes;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.language, codes.languageOf(c.name));
        EXPECT_EQ(c.country, codes.countryOf(c.name));
    }
}

}  // namespace

TEST(LocaleCodesTest, languagesAndCountriesInFullHaveTheirCodes) {
    expectCodes({{"German_Germany.1252", "de", "DE"},
                 {"English_United States.1252", "en", "US"},
                 {"Spanish_Mexico.1252", "es", "ES"},
                 {"French_France.1252", "fr", "FR"},
                 {"Japanese_Japan.932", "ja", "JP"},
                 {"Chinese_People's Republic of China.936", "zh", "CN"},
                 {"Chinese_Taiwan.950", "zh", "TW"},
                 {"German_Germany", "de", "DE"}});
}

TEST(LocaleCodesTest, namesThatHoldCodesKeepThemButMexicoIsSpain) {
    expectCodes({{"de_DE.UTF-8", "de", "DE"},
                 {"en_US", "en", "US"},
                 {"es_MX.UTF-8", "es", "ES"},
                 {"ja_JP.eucJP", "ja", "JP"}});
}

TEST(LocaleCodesTest, unknownPartsStayAsTheyAre) {
    expectCodes({{"Welsh_Great Britain.1252", "Welsh", "Great Britain"},
                 {"Welsh_Wales_West.1", "Welsh", "Wales_West"},
                 {"german_germany.1252", "german", "germany"},
                 {"German _ Germany", "German ", " Germany"},
                 {"*", "*", "*"},
                 {"", "", ""}});
}

TEST(LocaleCodesTest, aNameWithoutUnderscoreIsLanguageAndCountryAndOnlyTheCountryLosesItsCodePage) {
    expectCodes({{"C", "C", "C"},
                 {"C.UTF-8", "C.UTF-8", "C"},
                 {"English", "en", "English"},
                 {"Germany", "Germany", "DE"},
                 {"English.1252", "English.1252", "English"}});
}

TEST(LocaleCodesTest, theFirstUnderscoreAndTheFirstPointBehindItDivide) {
    expectCodes({{"German.x_Germany.1252.2", "German.x", "DE"},
                 {"_Germany", "", "DE"},
                 {"German_", "de", ""},
                 {"German_.1252", "de", ""},
                 {".", ".", ""}});
}
