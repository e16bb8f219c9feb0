#include "OrvoLocaleFactory.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <thread>

#include "OrvoDateTime.h"
#include "OrvoStringUtilities.h"
#include "support/ChildProcess.h"
#include "support/TempFolder.h"
#include "text/SystemLocales.h"

using namespace OrvoSupport;
using testing::AnyOf;
using testing::HasSubstr;
using testing_support::ChildProcess;

namespace {

class Locales : public testing::Test {
protected:
    static void SetUpTestSuite() {
        s_folder = std::make_unique<testing_support::TempFolder>();
        s_missing = testing_support::prepareLocales(s_folder->path(),
                                                    {"de_DE", "en_US", "es_MX", "fr_FR", "ja_JP", "zh_CN"});
    }
    static void TearDownTestSuite() { s_folder.reset(); }

    /// The output of a child that runs with the locales, without CR.
    static std::string outputOf(const char* entry) {
        ChildProcess child(entry);
        EXPECT_EQ(0, child.wait());
        std::string text = child.output();
        text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
        return text;
    }

    static std::unique_ptr<testing_support::TempFolder> s_folder;
    static std::string s_missing;
};

std::unique_ptr<testing_support::TempFolder> Locales::s_folder;
std::string Locales::s_missing;

std::string hex(const std::wstring& text) {
    std::ostringstream out;
    for (const wchar_t c : text) {
        if (c >= L' ' && c < 127)
            out << static_cast<char>(c);
        else
            out << "<" << std::hex << static_cast<unsigned long>(c) << ">";
    }
    return out.str();
}

using Factory = OrvoLocaleFactory;
const Factory::Language languages[] = {Factory::German, Factory::English,  Factory::Spanish,
                                       Factory::French, Factory::Japanese, Factory::Chinese};

}  // namespace

OSUPT_CHILD(codes) {
    for (const Factory::Language language : languages) {
        const std::locale locale = Factory::getLocale(language);
        std::printf("%s/%s\n", Factory::getLanguage(locale).c_str(), Factory::getCountry(locale).c_str());
    }
    for (const int unknown : {-1, 7, 1000}) {
        const std::locale locale = Factory::getLocale(static_cast<Factory::Language>(unknown));
        std::printf("%s/%s\n", Factory::getLanguage(locale).c_str(), Factory::getCountry(locale).c_str());
    }
    return 0;
}

OSUPT_CHILD(names) {
    OrvoDateTime date;
    date = string("15/3/2009 10:20:30");
    for (const Factory::Language language : languages) {
        const std::locale locale = Factory::getLocale(language);
        std::printf("%s %s\n", hex(date.weekdayName(locale)).c_str(), hex(date.monthName(locale)).c_str());
    }
    return 0;
}

OSUPT_CHILD(representations) {
    OrvoDateTime date;
    date = string("15/3/2009 10:20:30");
    for (const Factory::Language language : languages) {
        date.set(Factory::getLocale(language));
        std::printf("%s|%s|%s\n", hex(date.toString()).c_str(), hex(date.timeToString()).c_str(),
                    hex(date.dateToString()).c_str());
    }
    return 0;
}

OSUPT_CHILD(numbers) {
    for (const Factory::Language language : {Factory::German, Factory::English}) {
        std::wostringstream out;
        out.imbue(Factory::getLocale(language));
        out << std::fixed << 1234567.5;
        std::printf("%s\n", hex(out.str()).c_str());
    }
    const std::locale german = Factory::getLocale(Factory::German);
    const auto& money = std::use_facet<std::moneypunct<wchar_t, true>>(german);
    std::printf("%s %d %s\n", hex(money.curr_symbol()).c_str(), money.frac_digits(),
                hex(std::wstring(1, money.decimal_point())).c_str());
    const auto& order = std::use_facet<std::collate<wchar_t>>(german);
    const std::wstring words[] = {L"Apfel", L"\u00c4rger", L"Bach"};
    for (int i = 0; i < 2; ++i)
        std::printf("%d", order.compare(words[i].data(), words[i].data() + words[i].size(),
                                        words[i + 1].data(), words[i + 1].data() + words[i + 1].size()));
    return 0;
}

OSUPT_CHILD(withoutData) {
    const std::locale locale = Factory::getLocale(Factory::German);
    std::printf("%s", locale.name().c_str());
    return 0;
}

OSUPT_CHILD(captured) {
    const std::locale before = Factory::getDefaultLocale();
    const std::locale other(std::locale::classic(), new std::numpunct<char>);
    std::locale::global(other);
    const bool kept = Factory::getDefaultLocale() == before && Factory::getDefaultLocale(true) == before;
    return kept && before == std::locale::classic() ? 0 : 1;
}

OSUPT_CHILD(capturedByAnyCall) {
    const std::locale other(std::locale::classic(), new std::numpunct<char>);
    std::locale::global(other);
    Factory::getLanguage(std::locale::classic());
    std::locale::global(std::locale::classic());
    return Factory::getDefaultLocale() == other ? 0 : 1;
}

OSUPT_CHILD(capturedOnceByManyThreads) {
    std::locale seen[4];
    std::thread threads[4];
    for (int i = 0; i < 4; ++i) threads[i] = std::thread([&, i] { seen[i] = Factory::getDefaultLocale(); });
    for (std::thread& thread : threads) thread.join();
    for (const std::locale& locale : seen)
        if (locale != Factory::getDefaultLocale()) return 1;
    return 0;
}

TEST(OrvoLocaleFactoryTest, theNumbersOfTheLanguagesAreFixed) {
    EXPECT_EQ(0, Factory::German);
    EXPECT_EQ(1, Factory::English);
    EXPECT_EQ(2, Factory::Spanish);
    EXPECT_EQ(3, Factory::French);
    EXPECT_EQ(4, Factory::Japanese);
    EXPECT_EQ(5, Factory::Chinese);
    EXPECT_EQ(6, Factory::Classic);
}

TEST(OrvoLocaleFactoryTest, theClassicLocaleIsTheClassicLocaleAndKeepsItsName) {
    const std::locale locale = Factory::getLocale(Factory::Classic);
    EXPECT_TRUE(locale == std::locale::classic());
    EXPECT_EQ("C", Factory::getLanguage(locale));
    EXPECT_EQ("C", Factory::getCountry(locale));
}

TEST(OrvoLocaleFactoryTest, aLocaleWithoutNameIsReadByTheNameItReports) {
    const std::locale nameless(std::locale::classic(), new std::numpunct<char>);
    EXPECT_EQ("*", Factory::getLanguage(nameless));
    EXPECT_EQ("*", Factory::getCountry(nameless));
}

TEST(OrvoLocaleFactoryTest, theDefaultLocaleIsTheGlobalOneOfTheFirstCall) {
    EXPECT_EQ(0, ChildProcess("captured").wait());
    EXPECT_EQ(0, ChildProcess("capturedByAnyCall").wait());
    EXPECT_EQ(0, ChildProcess("capturedOnceByManyThreads").wait());
}

TEST_F(Locales, languageAndCountryOfEachAreItsCodesAndUnknownOnesAreEnglish) {
    if (!s_missing.empty()) GTEST_SKIP() << s_missing;
    EXPECT_EQ("de/DE\nen/US\nes/ES\nfr/FR\nja/JP\nzh/CN\nen/US\nen/US\nen/US\n", outputOf("codes"));
}

TEST_F(Locales, daysAndMonthsComeOutInTheLanguage) {
    if (!s_missing.empty()) GTEST_SKIP() << s_missing;
    const std::string text = outputOf("names");
    EXPECT_THAT(text, HasSubstr("Sonntag M<e4>rz\n"));
    EXPECT_THAT(text, HasSubstr("Sunday March\n"));
    EXPECT_THAT(text, HasSubstr("domingo marzo\n"));
    EXPECT_THAT(text, HasSubstr("dimanche mars\n"));
    EXPECT_THAT(text, HasSubstr("<65e5><66dc><65e5> 3<6708>\n"));
    EXPECT_THAT(text, HasSubstr("<661f><671f><65e5> <4e09><6708>\n"));
}

TEST_F(Locales, dateAndTimeComeOutAsTheCountryWritesThem) {
    if (!s_missing.empty()) GTEST_SKIP() << s_missing;
    std::istringstream lines(outputOf("representations"));
    std::string german, english, spanish, french, japanese, chinese;
    for (std::string* line : {&german, &english, &spanish, &french, &japanese, &chinese})
        std::getline(lines, *line);
    EXPECT_THAT(german, AnyOf(HasSubstr("|15.03.2009|10:20:30"), HasSubstr("|15.3.2009|10:20:30")));
    EXPECT_THAT(english, AnyOf(HasSubstr("|03/15/2009|10:20:30 AM"), HasSubstr("|3/15/2009|10:20:30 AM")));
    EXPECT_THAT(spanish, AnyOf(HasSubstr("|15/03/09|10:20:30"), HasSubstr("|15/3/2009|10:20:30"),
                               HasSubstr("|15/03/2009|10:20:30")));
    EXPECT_THAT(french, HasSubstr("|15/03/2009|10:20:30"));
    EXPECT_THAT(japanese, AnyOf(HasSubstr("|2009<5e74>03<6708>15<65e5>|10<6642>20<5206>30<79d2>"),
                                HasSubstr("|2009/3/15|10:20:30"), HasSubstr("|2009/03/15|10:20:30")));
    EXPECT_THAT(chinese, AnyOf(HasSubstr("|2009<5e74>03<6708>15<65e5>|10<65f6>20<5206>30<79d2>"),
                               HasSubstr("|2009/3/15|10:20:30")));
    for (const std::string& line : {german, english, spanish, french, japanese, chinese})
        EXPECT_THAT(line.substr(0, line.find('|')), HasSubstr("20"));
}

TEST_F(Locales, numbersMoneyAndOrderAreThoseOfTheCountry) {
    if (!s_missing.empty()) GTEST_SKIP() << s_missing;
    EXPECT_EQ("1.234.567,500000\n1,234,567.500000\nEUR  2 ,\n-1-1", outputOf("numbers"));
}

TEST_F(Locales, aLanguageWithoutDataFallsBackToEnglishAndThenToTheClassicLocale) {
    ChildProcess probe("withoutData");
    ASSERT_EQ(0, probe.wait());
    if (probe.output() == "*") GTEST_SKIP() << "this system has the data of every language";
    const char* path = std::getenv("LOCPATH");
    const std::string before = path ? path : "";
    testing_support::TempFolder folder;
    testing_support::setEnvironment("LOCPATH", folder.path().c_str());
    EXPECT_EQ("C", outputOf("withoutData"));
    const std::filesystem::path english = std::filesystem::path(before) / "en_US.UTF-8";
    if (std::filesystem::exists(english)) {
        std::filesystem::copy(english, std::filesystem::path(folder.path()) / "en_US.UTF-8",
                              std::filesystem::copy_options::recursive);
        EXPECT_EQ("en_US.UTF-8", outputOf("withoutData"));
    }
    testing_support::setEnvironment("LOCPATH", path ? before.c_str() : nullptr);
}
