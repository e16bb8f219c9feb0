// The system's locale data, and the standard locale put together from it.
#include "text/LocaleFacets.h"

#include <gmock/gmock.h>

#include <memory>
#include <sstream>

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
    for (const wchar_t c : out.str()) std::putchar(c < 127 ? static_cast<char>(c) : '?');
    std::printf(" %d %d", ordered, money.fractionDigits);
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

TEST(LocaleFacetsTest, theSystemsDataOfALanguageIsServed) {
    testing_support::TempFolder folder;
    const std::string missing = testing_support::prepareLocales(folder.path(), {"de_DE"});
    if (!missing.empty()) GTEST_SKIP() << missing;
    ChildProcess child("german");
    EXPECT_EQ(0, child.wait());
    EXPECT_EQ("Freitag, 15. Mai 2009 00:00:00 1.234.567 1 2", child.output());
    EXPECT_EQ(0, ChildProcess("klingon").wait());
}
