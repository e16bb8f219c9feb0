// The two facets, called the way a locale's user calls them: through the public range conversions.
#include <gtest/gtest.h>

#include <cstring>
#include <locale>
#include <string>

#include "OrvoStringUtilities.h"
#include "text/SystemText.h"

namespace OrvoSupport {
namespace {

using testing_support::expectedFromUtf8;
using testing_support::GuardedMemory;

using Facet = std::ctype<wchar_t>;

// What `convert` writes into a destination of `room` units. It runs twice, over different contents: where the
// results differ nothing was written.
template <class Char, class Convert>
std::basic_string<Char> written(std::size_t room, Convert convert) {
    std::basic_string<Char> first(room, Char('#'));
    std::basic_string<Char> second(room, Char('@'));
    convert(first.data());
    convert(second.data());
    std::size_t size = 0;
    while (size < room && first[size] == second[size]) ++size;
    return first.substr(0, size);
}

wstring widened(const Facet& facet, const char* first, const char* last) {
    return written<wchar_t>(4 * static_cast<std::size_t>(last - first),
                            [&](wchar_t* dest) { facet.widen(first, last, dest); });
}

wstring widened(const Facet& facet, const string& text) {
    return widened(facet, text.data(), text.data() + text.size());
}

string narrowed(const Facet& facet, const wstring& text) {
    return written<char>(4 * text.size(), [&](char* dest) {
        facet.narrow(text.data(), text.data() + text.size(), ' ', dest);
    });
}

// One code point as the system's wide text holds it.
wstring wide(char32_t character) {
    if (sizeof(wchar_t) > 2 || character < 0x10000) return wstring(1, static_cast<wchar_t>(character));
    const char32_t offset = character - 0x10000;
    return {static_cast<wchar_t>(0xD800 + (offset >> 10)), static_cast<wchar_t>(0xDC00 + (offset & 0x3FF))};
}

class CtypeFacetsTest : public testing::Test {
protected:
    static const Facet& facetOf(const std::locale& locale) { return std::use_facet<Facet>(locale); }

    const std::locale m_ansiLocale{std::locale::classic(), new ansi_ctype};
    const std::locale m_utf8Locale{std::locale::classic(), new utf8_ctype};
    const Facet& m_ansi = facetOf(m_ansiLocale);
    const Facet& m_utf8 = facetOf(m_utf8Locale);
};

TEST_F(CtypeFacetsTest, utf8ConvertsWellFormedTextBothWays) {
    struct Case {
        const char* what;
        const char* utf8;
        char32_t character;
    };
    const Case cases[] = {
        {"first of one byte", "\x01", 0x01},
        {"last of one byte", "\x7F", 0x7F},
        {"first of two bytes", "\xC2\x80", 0x80},
        {"a German letter", "\xC3\xA4", 0xE4},
        {"last of two bytes", "\xDF\xBF", 0x7FF},
        {"first of three bytes", "\xE0\xA0\x80", 0x800},
        {"the euro sign", "\xE2\x82\xAC", 0x20AC},
        {"last before the surrogates", "\xED\x9F\xBF", 0xD7FF},
        {"first behind the surrogates", "\xEE\x80\x80", 0xE000},
        {"the replacement character", "\xEF\xBF\xBD", 0xFFFD},
        {"last of three bytes", "\xEF\xBF\xBF", 0xFFFF},
        {"first of four bytes", "\xF0\x90\x80\x80", 0x10000},
        {"a face", "\xF0\x9F\x98\x80", 0x1F600},
        {"the last character", "\xF4\x8F\xBF\xBF", 0x10FFFF},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(wide(c.character), widened(m_utf8, c.utf8));
        EXPECT_EQ(c.utf8, narrowed(m_utf8, wide(c.character)));
    }
}

TEST_F(CtypeFacetsTest, utf8ConvertsEveryCharacterBothWays) {
    wstring all;
    for (char32_t character = 1; character <= 0x10FFFF; ++character)
        if (character < 0xD800 || character > 0xDFFF) all += wide(character);
    const string utf8 = narrowed(m_utf8, all);

    EXPECT_EQ(127u + 1920 * 2 + 61440 * 3 + 1048576 * 4, utf8.size());
    EXPECT_TRUE(all == widened(m_utf8, utf8));
}

TEST_F(CtypeFacetsTest, utf8ReplacesEachIllFormedPartOnce) {
    struct Case {
        const char* utf8;
        const wchar_t* expected;
    };
    const Case cases[] = {
        {"\x80", L"\xFFFD"},
        {"\xBF\x80", L"\xFFFD\xFFFD"},
        {"\xC0\x80", L"\xFFFD\xFFFD"},
        {"\xC1\xBF", L"\xFFFD\xFFFD"},
        {"a\xC3z", L"a\xFFFDz"},
        {"\xC3\xC3\xA4", L"\xFFFD\x00E4"},
        {"\xE2\x82z", L"\xFFFDz"},
        {"\xE2\x82\xE2\x82\xACz", L"\xFFFD\x20ACz"},
        {"\xF0\x9F\x98z", L"\xFFFDz"},
        {"\xF0\x9F\x98\xC3\xA4", L"\xFFFD\x00E4"},
        {"\xF5\x80\x80\x80", L"\xFFFD\xFFFD\xFFFD\xFFFD"},
        {"\xFE\xFF", L"\xFFFD\xFFFD"},
        {"abc\xC3", L"abc\xFFFD"},
        {"abc\xE2\x82", L"abc\xFFFD"},
        {"abc\xF0\x9F\x98", L"abc\xFFFD"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.expected, widened(m_utf8, c.utf8)) << testing::PrintToString(c.utf8);
}

// Each sequence stands between letters; one call converts all those with one lead byte.
TEST_F(CtypeFacetsTest, utf8GivesWhatTheSystemGivesForEverySequenceOfUpToThreeBytes) {
    constexpr int firstOfInterest = 0x7E;  // below it all bytes are alike
    for (int first = 0x80; first < 0x100; ++first) {
        string block = string(1, static_cast<char>(first)) + "x";
        for (int second = firstOfInterest; second < 0x100; ++second) {
            const char pair[] = {static_cast<char>(first), static_cast<char>(second)};
            block.append(pair, 2).append("x");
            for (int third = firstOfInterest; third < 0x100; ++third)
                block.append(pair, 2).append(1, static_cast<char>(third)).append("x");
        }
        ASSERT_TRUE(expectedFromUtf8(block) == widened(m_utf8, block)) << first;
    }
}

// The edges of what may follow each lead byte of four, and what stands beyond them.
TEST_F(CtypeFacetsTest, utf8GivesWhatTheSystemGivesForSequencesOfFourBytes) {
    const int followers[] = {0x7F, 0x80, 0x8F, 0x90, 0xBF, 0xC3, 0xE2, 0xF0, 0xFF};
    for (int first = 0xEF; first < 0x100; ++first) {
        string block;
        for (const int second : followers)
            for (const int third : followers)
                for (const int fourth : followers) {
                    const char bytes[] = {static_cast<char>(first), static_cast<char>(second),
                                          static_cast<char>(third), static_cast<char>(fourth), 'x'};
                    block.append(bytes, sizeof bytes);
                }
        ASSERT_TRUE(expectedFromUtf8(block) == widened(m_utf8, block)) << first;
    }
}

TEST_F(CtypeFacetsTest, utf8NeverReadsPastACutSequence) {
    GuardedMemory memory(64);
    const int seconds[] = {0x41, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC3};
    const int thirds[] = {0x41, 0x80, 0xBF, 0xE2};
    for (int first = 0x80; first < 0x100; ++first) {
        for (const int second : seconds) {
            for (const int third : thirds) {
                const char bytes[] = {'a', static_cast<char>(first), static_cast<char>(second),
                                      static_cast<char>(third)};
                for (std::size_t size = 2; size <= sizeof bytes; ++size) {
                    char* const text = memory.last(size);
                    std::memcpy(text, bytes, size);
                    ASSERT_EQ(expectedFromUtf8(string(bytes, size)), widened(m_utf8, text, text + size))
                        << testing::PrintToString(string(bytes, size));
                }
            }
        }
    }
}

TEST_F(CtypeFacetsTest, writesNothingPastFourUnitsForEachUnitOfInput) {
    GuardedMemory memory(4 * 64 * sizeof(wchar_t));
    for (std::size_t size = 1; size <= 64; ++size) {
        const string narrow = string(size - 1, 'a') + "\xF0";
        const wstring text(size, static_cast<wchar_t>(0xFFFF));
        for (const Facet* facet : {&m_ansi, &m_utf8}) {
            wchar_t* const wideDest = reinterpret_cast<wchar_t*>(memory.last(4 * size * sizeof(wchar_t)));
            wideDest[size - 1] = L'\0';
            facet->widen(narrow.data(), narrow.data() + size, wideDest);
            EXPECT_NE(L'\0', wideDest[size - 1]);
            *memory.last(4 * size) = '\0';
            facet->narrow(text.data(), text.data() + size, ' ', memory.last(4 * size));
            EXPECT_NE('\0', *memory.last(4 * size));
        }
    }
}

TEST_F(CtypeFacetsTest, utf8NarrowsLoneSurrogatesAsReplacementCharacters) {
    EXPECT_EQ("\xEF\xBF\xBD", narrowed(m_utf8, wstring(1, static_cast<wchar_t>(0xD800))));
    EXPECT_EQ("a\xEF\xBF\xBDz", narrowed(m_utf8, {L'a', static_cast<wchar_t>(0xDC00), L'z'}));
    EXPECT_EQ("\xEF\xBF\xBD\xEF\xBF\xBD",
              narrowed(m_utf8, {static_cast<wchar_t>(0xDFFF), static_cast<wchar_t>(0xD83D)}));
    EXPECT_EQ("\xEF\xBF\xBD\xEE\x80\x80",
              narrowed(m_utf8, {static_cast<wchar_t>(0xDBFF), static_cast<wchar_t>(0xE000)}));
}

TEST_F(CtypeFacetsTest, aPairOfSurrogatesIsOneCharacterOnlyWhereWideTextIsUtf16) {
    const wstring pair = {static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00)};
    const string expected = sizeof(wchar_t) == 2 ? "\xF0\x9F\x98\x80" : "\xEF\xBF\xBD\xEF\xBF\xBD";
    EXPECT_EQ(expected, narrowed(m_utf8, pair));
}

TEST_F(CtypeFacetsTest, utf8NarrowsValuesBeyondTheLastCharacterAsReplacementCharacters) {
    if (sizeof(wchar_t) == 2) GTEST_SKIP() << "16-bit wide characters hold no such value";
    for (const unsigned long value : {0x110000ul, 0x7FFFFFFFul, 0x80000000ul, 0x80000041ul, 0xFFFFFFFFul})
        EXPECT_EQ("\xEF\xBF\xBD", narrowed(m_utf8, wstring(1, static_cast<wchar_t>(value)))) << value;
}

TEST_F(CtypeFacetsTest, longAsciiRunsMayEndAnywhere) {
    for (std::size_t before = 0; before < 40; ++before) {
        const string text = string(before, 'a') + "\xC3\xA4" + string(40 - before, 'b') + "\xE2\x82";
        const wstring expected = wstring(before, L'a') + L"\x00E4" + wstring(40 - before, L'b') + L"\xFFFD";
        EXPECT_EQ(expected, widened(m_utf8, text));
        EXPECT_EQ(text.substr(0, text.size() - 2) + "\xEF\xBF\xBD", narrowed(m_utf8, expected));
    }
}

TEST_F(CtypeFacetsTest, nulIsAnOrdinaryCharacterOfARange) {
    EXPECT_EQ(wstring(L"a\0b", 3), widened(m_utf8, string("a\0b", 3)));
    EXPECT_EQ(wstring(L"a\0b", 3), widened(m_ansi, string("a\0b", 3)));
    EXPECT_EQ(string("a\0b", 3), narrowed(m_utf8, wstring(L"a\0b", 3)));
    EXPECT_EQ(string("a\0b", 3), narrowed(m_ansi, wstring(L"a\0b", 3)));
}

TEST_F(CtypeFacetsTest, rangesReturnTheirStartAndEmptyOnesWriteNothing) {
    const string text = "abc";
    const wstring wideText = L"abc";
    wchar_t wideDest[12] = {L'#'};
    char dest[12] = {'#'};
    for (const Facet* facet : {&m_ansi, &m_utf8}) {
        EXPECT_EQ(text.data(), facet->widen(text.data(), text.data(), wideDest));
        EXPECT_EQ(wideText.data(), facet->narrow(wideText.data(), wideText.data(), ' ', dest));
    }
    EXPECT_EQ(L'#', wideDest[0]);
    EXPECT_EQ('#', dest[0]);
    for (const Facet* facet : {&m_ansi, &m_utf8}) {
        EXPECT_EQ(text.data(), facet->widen(text.data(), text.data() + 3, wideDest));
        EXPECT_EQ(wideText.data(), facet->narrow(wideText.data(), wideText.data() + 3, ' ', dest));
    }
}

TEST_F(CtypeFacetsTest, oneCharacterIsNarrowedToTheDefaultAndWidenedAsEver) {
    const Facet& standard = std::use_facet<Facet>(std::locale::classic());
    for (const Facet* facet : {&m_ansi, &m_utf8}) {
        EXPECT_EQ('?', facet->narrow(L'a', '?'));
        EXPECT_EQ('\0', facet->narrow(L'a', '\0'));
        EXPECT_EQ(standard.widen('a'), facet->widen('a'));
        EXPECT_TRUE(facet->is(Facet::alpha, L'a'));
        EXPECT_EQ(L'A', facet->toupper(L'a'));
    }
}

// The single-character form that only the facets themselves have.
struct OpenAnsi : ansi_ctype {
    ~OpenAnsi() override = default;
    using ansi_ctype::do_widen;
};
struct OpenUtf8 : utf8_ctype {
    ~OpenUtf8() override = default;
    using utf8_ctype::do_widen;
};

TEST_F(CtypeFacetsTest, wideningOneCharacterWithADefaultGivesTheDefault) {
    EXPECT_EQ(L'x', OpenAnsi().do_widen('a', L'x'));
    EXPECT_EQ(L'\0', OpenUtf8().do_widen('a', L'\0'));
}

TEST_F(CtypeFacetsTest, aFacetWithAReferenceOfTheCallersOutlivesItsLocales) {
    OpenUtf8 facet;  // 0 references, but never given to a locale
    class Owned : public utf8_ctype {
    public:
        Owned() : utf8_ctype(1) {}
        ~Owned() override = default;
    } owned;
    { const std::locale user(std::locale::classic(), &owned); }
    EXPECT_EQ(L"\x00E4", widened(owned, "\xC3\xA4"));
    EXPECT_EQ(L"\x00E4", widened(facet, "\xC3\xA4"));
}

class AnsiFacetTest : public CtypeFacetsTest {
protected:
    void SetUp() override {
        if (!testing_support::ansiCodePageIs1252()) GTEST_SKIP() << "the ANSI code page is not 1252";
    }
};

TEST_F(AnsiFacetTest, convertsEveryByteBothWays) {
    const wchar_t from80[] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                              0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                              0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                              0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};
    for (int byte = 0; byte < 256; ++byte) {
        const wchar_t expected =
            byte >= 0x80 && byte < 0xA0 ? from80[byte - 0x80] : static_cast<wchar_t>(byte);
        const string text(1, static_cast<char>(byte));
        wchar_t dest[4] = {};
        m_ansi.widen(text.data(), text.data() + 1, dest);
        EXPECT_EQ(expected, dest[0]) << byte;
        char back[4] = {};
        m_ansi.narrow(dest, dest + 1, ' ', back);
        EXPECT_EQ(text[0], back[0]) << byte;
    }
}

TEST_F(AnsiFacetTest, narrowsWhatItLacksToALookAlike) {
    struct Case {
        char32_t character;
        const char* expected;
    };
    const Case cases[] = {
        {0x0101, "a"}, {0x0141, "L"}, {0x01CD, "A"}, {0x03B1, "a"}, {0x03BC, "\xB5"}, {0x2215, "/"},
        {0x221E, "8"}, {0x2500, "-"}, {0x3000, " "}, {0xFF01, "!"}, {0xFF21, "A"},    {0xFF5E, "~"},
    };
    for (const Case& c : cases) EXPECT_EQ(c.expected, narrowed(m_ansi, wide(c.character))) << c.character;
}

TEST_F(AnsiFacetTest, narrowsWhatHasNoLookAlikeToQuestionMarks) {
    const char32_t characters[] = {0x0080, 0x009F, 0x0416, 0x05D0, 0x20AD,
                                   0x4E2D, 0xD800, 0xDFFF, 0xFFFD, 0xFFFF};
    for (const char32_t character : characters)
        EXPECT_EQ("?", narrowed(m_ansi, wide(character))) << character;
    EXPECT_EQ("a?!", OrvoStringUtilities::narrow(L"a\x4E2D!", m_ansiLocale));
    EXPECT_EQ(string(wide(0x1F600).size(), '?'), narrowed(m_ansi, wide(0x1F600)));
}

}  // namespace
}  // namespace OrvoSupport
