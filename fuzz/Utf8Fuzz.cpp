// UTF-8 and the ANSI code page: the first byte says how much stands in front of the text, which is the rest.
#include <OrvoStringUtilities.h>

#include <cstring>
#include <memory>
#include <vector>

#include "Fuzz.h"

using namespace OrvoSupport;

namespace {

using Wide = std::wstring;

void encode(std::uint32_t value, std::string& text) {
    if (value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) value = 0xFFFD;
    const auto put = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
    const auto follow = [&](int shift) { put(0x80 | (value >> shift & 0x3F)); };
    if (value < 0x80) {
        put(value);
    } else if (value < 0x800) {
        put(0xC0 | value >> 6);
        follow(0);
    } else if (value < 0x10000) {
        put(0xE0 | value >> 12);
        follow(6);
        follow(0);
    } else {
        put(0xF0 | value >> 18);
        follow(12);
        follow(6);
        follow(0);
    }
}

std::size_t lengthByLead(char lead) {
    const auto byte = static_cast<unsigned char>(lead);
    return byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

/// Whether the bytes are one character: they are what its value encodes to.
bool isCharacter(const std::string& bytes, std::uint32_t& value) {
    if (bytes.size() != lengthByLead(bytes[0])) return false;
    static const unsigned leadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    value = static_cast<unsigned char>(bytes[0]) & leadBits[bytes.size()];
    for (std::size_t i = 1; i < bytes.size(); ++i)
        value = value << 6 | (static_cast<unsigned char>(bytes[i]) & 0x3F);
    std::string encoded;
    encode(value, encoded);
    return encoded == bytes;
}

/// Whether a character begins with the bytes.
bool isBeginning(const std::string& bytes) {
    const std::size_t length = lengthByLead(bytes[0]);
    if (bytes.size() > length) return false;
    const std::size_t missing = length - bytes.size();
    std::uint32_t ignored;
    return isCharacter(bytes + std::string(missing, '\x80'), ignored) ||
           isCharacter(bytes + std::string(missing, '\xBF'), ignored);
}

/// One U+FFFD for the longest beginning of a character, or for a byte that begins none.
Wide decode(const std::string& text, bool& isWellFormed) {
    Wide result;
    isWellFormed = true;
    for (std::size_t i = 0; i < text.size();) {
        std::size_t length = 1;
        while (i + length < text.size() && isBeginning(text.substr(i, length + 1))) ++length;
        std::uint32_t value;
        if (!isCharacter(text.substr(i, length), value)) {
            value = 0xFFFD;
            isWellFormed = false;
        }
        result += static_cast<wchar_t>(value);
        i += length;
    }
    return result;
}

template <class Text>
Text untilNul(const Text& text) {
    return Text(text.c_str());
}

const std::locale& utf8Locale() {
    static const std::locale locale(std::locale::classic(), new utf8_ctype);
    return locale;
}

const std::locale& ansiLocale() {
    static const std::locale locale(std::locale::classic(), new ansi_ctype);
    return locale;
}

void checkDecoding(const std::string& text) {
    bool isWellFormed = false;
    const Wide expected = decode(text, isWellFormed);
    const Wide wide = OrvoStringUtilities::widen(text, utf8Locale());
    REQUIRE(wide == untilNul(expected));
    if (isWellFormed) REQUIRE(OrvoStringUtilities::narrow(wide, utf8Locale()) == untilNul(text));

    const std::size_t room = 4 * text.size();
    const auto dest = std::make_unique<wchar_t[]>(room);
    const char* const first = text.data();
    REQUIRE(std::use_facet<std::ctype<wchar_t>>(utf8Locale()).widen(first, first + text.size(), dest.get()) ==
            first);
    REQUIRE(std::equal(expected.begin(), expected.end(), dest.get()));
    REQUIRE(std::all_of(dest.get() + expected.size(), dest.get() + room, [](wchar_t c) { return c == 0; }));
}

void checkEncoding(const Wide& text) {
    std::string expected;
    for (const wchar_t c : text) encode(static_cast<std::uint32_t>(c), expected);
    REQUIRE(OrvoStringUtilities::narrow(text, utf8Locale()) == untilNul(expected));

    const auto dest = std::make_unique<char[]>(4 * text.size());
    std::use_facet<std::ctype<wchar_t>>(utf8Locale())
        .narrow(text.data(), text.data() + text.size(), ' ', dest.get());
    REQUIRE(std::equal(expected.begin(), expected.end(), dest.get()));
}

void checkAnsi(const std::string& text, const Wide& wide) {
    const Wide widened = OrvoStringUtilities::widen(text, ansiLocale());
    REQUIRE(widened.size() == untilNul(text).size());
    REQUIRE(OrvoStringUtilities::narrow(widened, ansiLocale()) == untilNul(text));

    // Every character gives one byte: its own, that of one which looks like it, or a question mark.
    const Wide characters = untilNul(wide);
    const std::string narrowed = OrvoStringUtilities::narrow(characters, ansiLocale());
    REQUIRE(narrowed.size() == characters.size());
    for (std::size_t i = 0; i < narrowed.size(); ++i) {
        const auto value = static_cast<std::uint32_t>(characters[i]);
        if (value < 0x80 || value > 0xFFFF)
            REQUIRE(narrowed[i] == (value < 0x80 ? static_cast<char>(value) : '?'));
    }
    const Wide again = OrvoStringUtilities::widen(narrowed, ansiLocale());
    REQUIRE(OrvoStringUtilities::narrow(again, ansiLocale()) == narrowed);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const unsigned front = input.byte();
    const std::string text = input.rest();
    Wide wide(text.size() / sizeof(wchar_t), L'\0');
    if (!wide.empty()) std::memcpy(wide.data(), text.data(), wide.size() * sizeof(wchar_t));

    checkDecoding(text);
    checkEncoding(wide);
    checkAnsi(text, wide);
    // Long texts are converted in pieces of 1024 characters.
    checkDecoding(std::string(896 + front, 'x') + text);
    checkEncoding(Wide(896 + front, L'x') + wide);
    return 0;
}
