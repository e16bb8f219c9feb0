// The system's locale data, and the standard locale put together from it.
#include "text/LocaleFacets.h"

#include <gmock/gmock.h>

#include <memory>
#include <sstream>

#include "OrvoStringUtilities.h"
#include "platform/CodePage.h"
#include "support/ChildProcess.h"
#include "support/TempFolder.h"
#include "text/SystemLocales.h"

using namespace OrvoSupport;
using testing_support::ChildProcess;

namespace {

class FakeData : public platform::LocaleData {
public:
    std::wstring formatTime(const std::tm& fields, char conversion, char modifier) const override {
        return std::wstring{static_cast<wchar_t>(conversion), modifier ? L'!' : L'.'} +
               std::to_wstring(fields.tm_mday);
    }
    platform::NumberFormat numberFormat() const override { return {L",", L".", "\3"}; }
    platform::MoneyFormat moneyFormat() const override {
        platform::MoneyFormat money;
        money.number = {L",", L"'", "\3"};
        money.symbol = L"Fr";
        money.internationalSymbol = L"CHF ";
        money.negativeSign = L"-";
        money.fractionDigits = 2;
        money.internationalFractionDigits = 2;
        money.positive = {0, 1, 1};
        money.negative = {1, 1, 4};
        return money;
    }
    std::wstring sortKey(const std::wstring& text) const override {
        return std::wstring(text.rbegin(), text.rend());
    }
    // '#' is an upper-case letter here, and 'x' its lower case.
    unsigned int classesOf(wchar_t c) const override {
        if (c >= L'0' && c <= L'9') return platform::digit | platform::printable;
        if (c == L'#') return platform::letter | platform::upperCase | platform::printable;
        return c == L'x' ? platform::letter | platform::lowerCase | platform::printable : platform::control;
    }
    wchar_t toUpper(wchar_t c) const override { return c == L'x' ? L'#' : c; }
    wchar_t toLower(wchar_t c) const override { return c == L'#' ? L'x' : c; }
};

std::locale fakeLocale() { return localeOver(std::make_shared<FakeData>(), "Test_Land"); }

template <class Char>
std::basic_string<Char> money(long double amount) {
    std::basic_ostringstream<Char> out;
    out.imbue(fakeLocale());
    out.setf(std::ios_base::showbase);
    std::use_facet<std::money_put<Char>>(out.getloc())
        .put(std::ostreambuf_iterator<Char>(out), false, out, static_cast<Char>(' '), amount);
    return out.str();
}

}  // namespace

// Prints what the system itself knows of German: it is served from this where no locale has a name.
OSUPT_CHILD(german) {
    std::shared_ptr<const platform::LocaleData> data =
        platform::LocaleData::open(platform::LocaleId{"german", "de", "DE"});
    if (!data) return 1;
    const std::locale locale = localeOver(data, "German_Germany");
    std::tm fields{};
    fields.tm_mday = 15;
    fields.tm_mon = 4;
    fields.tm_year = 109;
    fields.tm_wday = 5;
    std::wostringstream out;
    out.imbue(locale);
    const std::wstring pattern = L"%A, %d. %B %Y %H:%M:%S";
    std::use_facet<std::time_put<wchar_t>>(locale).put(std::ostreambuf_iterator<wchar_t>(out), out, L' ',
                                                       &fields, pattern.data(),
                                                       pattern.data() + pattern.size());
    out << L" " << 1234567;
    const bool ordered = locale(std::wstring(L"\u00c4rger"), std::wstring(L"Bach"));
    const platform::MoneyFormat money = data->moneyFormat();
    const bool letters =
        std::isalpha(L'\u00df', locale) && std::isupper(L'\u00c4', locale) &&
        std::toupper(L'\u00e4', locale) == L'\u00c4' && std::tolower(L'\u00c4', locale) == L'\u00e4' &&
        !std::isalpha(L'\u20ac', locale) && std::isprint(L'\u20ac', locale) && !std::isprint(L'\t', locale) &&
        std::isspace(L'\t', locale) && std::isprint(L' ', locale) && !std::isgraph(L' ', locale) &&
        std::isalnum(L'7', locale) && std::isxdigit(L'f', locale) && std::ispunct(L'!', locale) &&
        std::isgraph(L'!', locale);
    for (const wchar_t c : out.str()) std::putchar(c < 127 ? static_cast<char>(c) : '?');
    std::printf(" %d %d %d", ordered, money.fractionDigits, letters);
    return 0;
}

OSUPT_CHILD(klingon) {
    return platform::LocaleData::open(platform::LocaleId{"klingon", "tlh", "QQ"}) ? 1 : 0;
}

TEST(LocaleFacetsTest, theLocaleHasNoNameButCarriesOne) {
    const std::locale locale = fakeLocale();
    EXPECT_EQ("*", locale.name());
    ASSERT_TRUE(std::has_facet<LocaleNameFacet>(locale));
    EXPECT_EQ("Test_Land", std::use_facet<LocaleNameFacet>(locale).name());
    EXPECT_FALSE(std::has_facet<LocaleNameFacet>(std::locale::classic()));
}

TEST(LocaleFacetsTest, timesComeFromTheDataOneConversionAfterTheOther) {
    std::tm fields{};
    fields.tm_mday = 7;
    const std::string pattern = "<%A%Ey>";
    std::ostringstream out;
    const std::locale locale = fakeLocale();
    out.imbue(locale);
    std::use_facet<std::time_put<char>>(locale).put(std::ostreambuf_iterator<char>(out), out, ' ', &fields,
                                                    pattern.data(), pattern.data() + pattern.size());
    EXPECT_EQ("<A.7y!7>", out.str());
}

TEST(LocaleFacetsTest, numbersAreGroupedAsTheDataSays) {
    std::ostringstream narrow;
    narrow.imbue(fakeLocale());
    narrow << 1234567.5;
    std::wostringstream wide;
    wide.imbue(fakeLocale());
    wide << 1234567;
    EXPECT_EQ("1,23457e+06", narrow.str());
    EXPECT_EQ(L"1.234.567", wide.str());
}

TEST(LocaleFacetsTest, moneyStandsInTheOrderOfItsLayout) {
    EXPECT_EQ("1'234,56 Fr", money<char>(123456));
    EXPECT_EQ(L"Fr- 1'234,56", money<wchar_t>(-123456));
}

TEST(LocaleFacetsTest, textSortsByItsKeysNarrowAndWide) {
    const std::locale locale = fakeLocale();
    EXPECT_TRUE(locale(std::string("za"), std::string("ab")));
    EXPECT_FALSE(locale(std::wstring(L"ab"), std::wstring(L"za")));
    const auto& order = std::use_facet<std::collate<char>>(locale);
    const std::string za = "za", ab = "ab";
    EXPECT_LT(order.transform(za.data(), za.data() + 2), order.transform(ab.data(), ab.data() + 2));
    EXPECT_EQ(order.hash(za.data(), za.data() + 2), order.hash(za.data(), za.data() + 2));
}

template <class Char>
void expectCharactersOfTheData() {
    const std::locale locale = fakeLocale();
    const auto& characters = std::use_facet<std::ctype<Char>>(locale);
    const std::basic_string<Char> text = {'#', 'x', 'a', '#'};
    const Char* const first = text.data();
    const Char* const last = first + text.size();
    EXPECT_TRUE(characters.is(std::ctype_base::alpha, text[0]));
    EXPECT_TRUE(characters.is(std::ctype_base::alnum, text[0]));
    EXPECT_TRUE(characters.is(std::ctype_base::graph, text[0]));
    EXPECT_TRUE(characters.is(std::ctype_base::upper, text[0]));
    EXPECT_FALSE(characters.is(std::ctype_base::punct, text[0]));
    EXPECT_FALSE(characters.is(std::ctype_base::alpha, text[2]));
    EXPECT_TRUE(characters.is(std::ctype_base::cntrl, text[2]));
    EXPECT_EQ(first + 1, characters.scan_is(std::ctype_base::lower, first, last));
    EXPECT_EQ(first + 2, characters.scan_not(std::ctype_base::alpha, first, last));
    std::ctype_base::mask masks[4];
    EXPECT_EQ(last, characters.is(first, last, masks));
    EXPECT_TRUE((masks[1] & std::ctype_base::lower) && !(masks[3] & std::ctype_base::lower));

    std::basic_string<Char> changed = text;
    characters.toupper(&changed[0], &changed[0] + changed.size());
    EXPECT_EQ((std::basic_string<Char>{'#', '#', 'a', '#'}), changed);
    characters.tolower(&changed[0], &changed[0] + changed.size());
    EXPECT_EQ((std::basic_string<Char>{'x', 'x', 'a', 'x'}), changed);
    EXPECT_EQ(static_cast<Char>('#'), characters.toupper(static_cast<Char>('x')));
    EXPECT_EQ(static_cast<Char>('x'), characters.tolower(static_cast<Char>('#')));
}

TEST(LocaleFacetsTest, charactersAreWhatTheDataSays) {
    expectCharactersOfTheData<char>();
    expectCharactersOfTheData<wchar_t>();
}

TEST(LocaleFacetsTest, narrowCharactersAreTheSingleBytesOfTheAnsiCodePage) {
    const std::locale locale = fakeLocale();
    const auto& characters = std::use_facet<std::ctype<wchar_t>>(locale);
    for (int byte = 0; byte < 256; ++byte) {
        const char narrow = static_cast<char>(byte);
        wchar_t wide[4];
        ASSERT_EQ(1u, platform::toWide(platform::CodePage::ansi, &narrow, 1, wide));
        EXPECT_EQ(wide[0], characters.widen(narrow));
        if (byte < 128) {
            EXPECT_EQ(narrow, characters.narrow(wide[0], '!'));
        }
    }
    EXPECT_EQ('!', characters.narrow(L'\ue000', '!'));  // private use
}

TEST(LocaleFacetsTest, textsAreConvertedCharacterByCharacterWithBlanksForWhatIsMissing) {
    const std::wstring wide = L"K\u00e4se \ue000!";
    char bytes[4];
    const bool known =
        platform::toNarrow(platform::CodePage::ansi, &wide[1], 1, bytes) == 1 && bytes[0] != '?';
    const char umlaut = known ? bytes[0] : ' ';
    EXPECT_EQ(std::string("K") + umlaut + "se  !", OrvoStringUtilities::narrow(wide, fakeLocale()));
    if (known) {
        EXPECT_EQ(L"K\u00e4se", OrvoStringUtilities::widen(std::string("K") + umlaut + "se", fakeLocale()));
    }
}

TEST(LocaleFacetsTest, theSystemsDataOfALanguageIsServed) {
    testing_support::TempFolder folder;
    const std::string missing = testing_support::prepareLocales(folder.path(), {"de_DE"});
    if (!missing.empty()) GTEST_SKIP() << missing;
    ChildProcess child("german");
    EXPECT_EQ(0, child.wait());
    EXPECT_EQ("Freitag, 15. Mai 2009 00:00:00 1.234.567 1 2 1", child.output());
    EXPECT_EQ(0, ChildProcess("klingon").wait());
}
