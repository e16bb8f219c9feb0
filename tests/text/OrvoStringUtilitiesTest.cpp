#include "OrvoStringUtilities.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <locale>
#include <stdexcept>

#include "OrvoException.h"

namespace OrvoSupport {
namespace {

const std::locale& utf8Locale() {
    static const std::locale locale(std::locale::classic(), new utf8_ctype);
    return locale;
}

TEST(OrvoStringUtilitiesTest, convertsWithTheFacetOfTheLocale) {
    const string narrow = "Fu\xC3\x9F, 5 \xE2\x82\xAC";
    const wstring wide = L"Fu\x00DF, 5 \x20AC";
    EXPECT_EQ(wide, OrvoStringUtilities::widen(narrow, utf8Locale()));
    EXPECT_EQ(narrow, OrvoStringUtilities::narrow(wide, utf8Locale()));
    EXPECT_EQ(L"plain", OrvoStringUtilities::widen("plain", std::locale::classic()));
    EXPECT_EQ("plain", OrvoStringUtilities::narrow(L"plain", std::locale::classic()));
}

TEST(OrvoStringUtilitiesTest, convertsTheEmptyTextToTheEmptyText) {
    EXPECT_EQ(L"", OrvoStringUtilities::widen("", utf8Locale()));
    EXPECT_EQ("", OrvoStringUtilities::narrow(L"", utf8Locale()));
    EXPECT_EQ(L"", OrvoStringUtilities::widen("", std::locale::classic()));
}

TEST(OrvoStringUtilitiesTest, theResultEndsAtTheFirstNul) {
    for (const std::locale& locale : {utf8Locale(), std::locale::classic()}) {
        EXPECT_EQ(L"ab", OrvoStringUtilities::widen(string("ab\0cd", 5), locale));
        EXPECT_EQ("ab", OrvoStringUtilities::narrow(wstring(L"ab\0cd", 5), locale));
        EXPECT_EQ(L"", OrvoStringUtilities::widen(string("\0cd", 3), locale));
    }
}

TEST(OrvoStringUtilitiesTest, aFacetThatSubstitutesGetsABlankForWhatItCannotNarrow) {
    EXPECT_EQ("a !", OrvoStringUtilities::narrow(L"a\x4E2D!", std::locale::classic()));
}

TEST(OrvoStringUtilitiesTest, theUtf8FacetSubstitutesByItself) {
    const wstring loneSurrogate(1, static_cast<wchar_t>(0xDC00));
    EXPECT_EQ("\xEF\xBF\xBD", OrvoStringUtilities::narrow(loneSurrogate, utf8Locale()));
}

TEST(OrvoStringUtilitiesTest, theResultMayBeFourTimesAsLongAsTheText) {
    const wstring faces(1000, sizeof(wchar_t) == 2 ? L'\xFFFD' : static_cast<wchar_t>(0x1F600));
    const string narrow = OrvoStringUtilities::narrow(faces, utf8Locale());
    EXPECT_EQ(sizeof(wchar_t) == 2 ? 3000u : 4000u, narrow.size());
    EXPECT_EQ(faces, OrvoStringUtilities::widen(narrow, utf8Locale()));
}

// A long text is converted in pieces inside; no cut may show, wherever it falls.
TEST(OrvoStringUtilitiesTest, longTextsConvertAsOneRange) {
    const auto& facet = std::use_facet<std::ctype<wchar_t>>(utf8Locale());
    const char* const units[] = {"\xC3\xA4",
                                 "\xE2\x82\xAC",
                                 "\xF0\x9F\x98\x80",
                                 "a\xF0\x9F\x98\x80",
                                 "\x80",
                                 "\xBF\xE2\x82\xAC",
                                 "\xE2\x82",
                                 "\xF0\x9F\x98",
                                 "\xC3\xC3\xA4\x80",
                                 "\xF0\x9F\x98\x80\x80",
                                 "\xF0\x80\x80\x80",
                                 "\xF8\x88\x80\x80\x80",
                                 "\xED\xA0\x80",
                                 "\xE0\x80\xAF"};
    for (const char* unit : units) {
        for (std::size_t shift = 0; shift < 8; ++shift) {
            string text(shift, 'x');
            while (text.size() < 5000) text += unit;
            wstring wide(4 * text.size() + 1, L'\0');
            facet.widen(text.data(), text.data() + text.size(), wide.data());
            wide.resize(wide.find(L'\0'));
            ASSERT_EQ(wide, OrvoStringUtilities::widen(text, utf8Locale())) << unit << shift;

            string narrow(4 * wide.size() + 1, '\0');
            facet.narrow(wide.data(), wide.data() + wide.size(), ' ', narrow.data());
            narrow.resize(narrow.find('\0'));
            ASSERT_EQ(narrow, OrvoStringUtilities::narrow(wide, utf8Locale())) << unit << shift;
        }
    }
}

TEST(OrvoStringUtilitiesTest, longTextsEndAtTheFirstNulToo) {
    const string start(3000, 'a');
    EXPECT_EQ(wstring(3000, L'a'), OrvoStringUtilities::widen(start + '\0' + start, utf8Locale()));
    EXPECT_EQ(start, OrvoStringUtilities::narrow(wstring(3000, L'a') + L'\0' + L"b", utf8Locale()));
}

TEST(OrvoStringUtilitiesTest, aFacetDerivedFromOneOfTheLibraryIsAsked) {
    struct Shouting : utf8_ctype {
        using utf8_ctype::do_widen;
        const char* do_widen(const char* first, const char* last, wchar_t* dest) const override {
            for (const char* c = first; c != last; ++c) *dest++ = toupper(static_cast<wchar_t>(*c));
            return first;
        }
    };
    EXPECT_EQ(L"ABC", OrvoStringUtilities::widen("abc", std::locale(std::locale::classic(), new Shouting)));
}

// Records what it is handed, and writes as much as a facet may.
class GreedyFacet : public std::ctype<wchar_t> {
public:
    mutable bool wasZero = true;
    mutable char defaultGiven = '\0';

protected:
    using std::ctype<wchar_t>::do_widen;
    using std::ctype<wchar_t>::do_narrow;
    const char* do_widen(const char* first, const char* last, wchar_t* dest) const override {
        fill(dest, 4 * (last - first), L'w');
        return last;
    }
    const wchar_t* do_narrow(const wchar_t* first, const wchar_t* last, char defaultCharacter,
                             char* dest) const override {
        defaultGiven = defaultCharacter;
        fill(dest, 4 * (last - first), 'n');
        return last;
    }

private:
    template <class Char>
    void fill(Char* dest, std::ptrdiff_t count, Char c) const {
        for (std::ptrdiff_t i = 0; i < count + 4; ++i) wasZero = wasZero && dest[i] == Char();
        for (std::ptrdiff_t i = 0; i < count; ++i) dest[i] = c;
    }
};

TEST(OrvoStringUtilitiesTest, theFacetGetsZeroedRoomForFourUnitsEachAndFourMore) {
    auto* const facet = new GreedyFacet;
    const std::locale locale(std::locale::classic(), facet);
    for (const std::size_t size : {std::size_t{1}, std::size_t{3}, std::size_t{1000}, std::size_t{100000}}) {
        EXPECT_EQ(wstring(4 * size, L'w'), OrvoStringUtilities::widen(string(size, 'a'), locale));
        EXPECT_EQ(string(4 * size, 'n'), OrvoStringUtilities::narrow(wstring(size, L'a'), locale));
    }
    EXPECT_TRUE(facet->wasZero);
    EXPECT_EQ(' ', facet->defaultGiven);
}

class FailingFacet : public std::ctype<wchar_t> {
protected:
    using std::ctype<wchar_t>::do_widen;
    using std::ctype<wchar_t>::do_narrow;
    const char* do_widen(const char*, const char*, wchar_t*) const override {
        throw std::runtime_error("no table");
    }
    const wchar_t* do_narrow(const wchar_t*, const wchar_t*, char, char*) const override {
        throw std::runtime_error("no table");
    }
};

template <class Call>
void expectFailure(const wstring& text, Call call) {
    try {
        call();
        FAIL() << "nothing was thrown";
    } catch (const OrvoException& exception) {
        EXPECT_EQ(text, exception.getUText());
        EXPECT_EQ(text, exception.getFormattedMessages());
        EXPECT_EQ(0, exception.getCode());
    }
}

TEST(OrvoStringUtilitiesTest, aStandardExceptionBecomesOneOfTheLibrary) {
    const std::locale locale(std::locale::classic(), new FailingFacet);
    expectFailure(L"OrvoStringUtilities::widen: ctype facet cannot be created for the locale -no table",
                  [&] { OrvoStringUtilities::widen("a", locale); });
    expectFailure(L"OrvoStringUtilities::narrow: ctype facet cannot be created for the locale -no table",
                  [&] { OrvoStringUtilities::narrow(L"a", locale); });
}

TEST(OrvoStringUtilitiesTest, anExceptionOfAnotherKindPassesThrough) {
    struct Thrower : FailingFacet {
        const char* do_widen(const char*, const char*, wchar_t*) const override { throw 5; }
        using FailingFacet::do_widen;
    };
    const std::locale locale(std::locale::classic(), new Thrower);
    EXPECT_THROW(OrvoStringUtilities::widen("a", locale), int);
}

// The failure must not need the locale that has just failed.
TEST(OrvoStringUtilitiesTest, failsCleanlyWhenTheGlobalLocaleItselfCannotConvert) {
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new FailingFacet));
    EXPECT_THROW(OrvoStringUtilities::widen("a", std::locale()), OrvoException);
    std::locale::global(before);
}

TEST(OrvoStringUtilitiesTest, comStringsGiveTheTextBack) {
    const wstring texts[] = {L"",
                             L"a",
                             L"odd",
                             L"Fu\x00DF, 5 \x20AC",
                             wstring(100000, L'x'),
                             OrvoStringUtilities::widen("\xF0\x9F\x98\x80!", utf8Locale())};
    for (const wstring& text : texts) {
        wchar_t* const bstr = OrvoStringUtilities::makeBSTR(text);
        ASSERT_NE(nullptr, bstr);
        EXPECT_EQ(text, bstr);
        EXPECT_EQ(text, OrvoStringUtilities::widen(bstr));
        OrvoStringUtilities::freeBSTR(bstr);
    }
}

TEST(OrvoStringUtilitiesTest, comStringsEndAtTheFirstNul) {
    wchar_t* bstr = OrvoStringUtilities::makeBSTR(wstring(L"ab\0cd", 5));
    EXPECT_EQ(L"ab", OrvoStringUtilities::widen(bstr));
    OrvoStringUtilities::freeBSTR(bstr);

    bstr = OrvoStringUtilities::makeBSTR(L"abcd");
    bstr[2] = L'\0';
    EXPECT_EQ(L"ab", OrvoStringUtilities::widen(bstr));
    OrvoStringUtilities::freeBSTR(bstr);
}

TEST(OrvoStringUtilitiesTest, comStringsCarryTheirLengthInBytesInFront) {
    wchar_t* const bstr = OrvoStringUtilities::makeBSTR(L"abc");
    std::uint32_t bytes = 0;
    std::memcpy(&bytes, reinterpret_cast<const char*>(bstr) - sizeof bytes, sizeof bytes);
    EXPECT_EQ(3 * sizeof(wchar_t), bytes);
    EXPECT_EQ(L'\0', bstr[3]);
    OrvoStringUtilities::freeBSTR(bstr);
}

// Gives a COM string another length, which other makers of such strings may choose freely.
void setLengthInBytes(wchar_t* bstr, std::uint32_t bytes) {
    std::memcpy(reinterpret_cast<char*>(bstr) - sizeof bytes, &bytes, sizeof bytes);
}

TEST(OrvoStringUtilitiesTest, comStringsEndAtTheirLength) {
    wchar_t* const bstr = OrvoStringUtilities::makeBSTR(L"abcd");
    setLengthInBytes(bstr, 2 * sizeof(wchar_t));
    EXPECT_EQ(L"ab", OrvoStringUtilities::widen(bstr));
    setLengthInBytes(bstr, 0);
    EXPECT_EQ(L"", OrvoStringUtilities::widen(bstr));
    setLengthInBytes(bstr, 4 * sizeof(wchar_t));
    OrvoStringUtilities::freeBSTR(bstr);
}

TEST(OrvoStringUtilitiesTest, bytesLeftOverInAComStringStartOneMoreCharacter) {
    wchar_t* const bstr = OrvoStringUtilities::makeBSTR(L"abc");
    bstr[1] = 0x0141;
    setLengthInBytes(bstr, sizeof(wchar_t) + 1);
    EXPECT_EQ(L"aA", OrvoStringUtilities::widen(bstr));
    setLengthInBytes(bstr, 1);
    EXPECT_EQ(L"a", OrvoStringUtilities::widen(bstr));
    setLengthInBytes(bstr, 3 * sizeof(wchar_t));
    OrvoStringUtilities::freeBSTR(bstr);
}

TEST(OrvoStringUtilitiesTest, aNullComStringIsTheEmptyText) {
    wchar_t* const none = nullptr;
    EXPECT_EQ(L"", OrvoStringUtilities::widen(none));
    OrvoStringUtilities::freeBSTR(none);
}

}  // namespace
}  // namespace OrvoSupport
