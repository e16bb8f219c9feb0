// Linux half of CodePage: a UTF-8 codec, and the single-byte code page the library was built for.
#include "platform/CodePage.h"

#include <cstdint>
#include <cstring>

#include "platform/posix/AnsiTable.h"

namespace OrvoSupport::platform {
namespace {

constexpr std::size_t blockSize = 16;
constexpr wchar_t replacement = 0xFFFD;

// Text is mostly ASCII in most languages' files, so runs of it are copied a block at a time.
bool isAsciiBlock(const char* text) {
    std::uint64_t halves[2];
    std::memcpy(halves, text, blockSize);
    return ((halves[0] | halves[1]) & 0x8080808080808080u) == 0;
}

bool isAsciiBlock(const wchar_t* text) {
    std::uint32_t all = 0;
    for (std::size_t i = 0; i < blockSize; ++i) all |= static_cast<std::uint32_t>(text[i]);
    return all < 0x80;
}

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// What may follow a lead byte: how many bytes, and where the first of them must lie.
struct Lead {
    int following;
    unsigned char least, most;
};

Lead leadOf(unsigned char byte) {
    if (byte < 0xC2 || byte > 0xF4) return {0, 0, 0};
    if (byte < 0xE0) return {1, 0x80, 0xBF};
    if (byte < 0xF0)
        return {2, byte == 0xE0 ? std::uint8_t{0xA0} : std::uint8_t{0x80},
                byte == 0xED ? std::uint8_t{0x9F} : std::uint8_t{0xBF}};
    return {3, byte == 0xF0 ? std::uint8_t{0x90} : std::uint8_t{0x80},
            byte == 0xF4 ? std::uint8_t{0x8F} : std::uint8_t{0xBF}};
}

// Reads the character, or the maximal ill-formed part, at `text`, which starts with a byte above 0x7F.
const unsigned char* readUtf8(const unsigned char* text, const unsigned char* end, wchar_t& character) {
    const Lead lead = leadOf(*text);
    std::uint32_t value = *text++ & (0x3Fu >> lead.following);
    character = replacement;
    if (lead.following == 0 || text == end || *text < lead.least || *text > lead.most) return text;
    value = value << 6 | (*text++ & 0x3Fu);
    for (int left = lead.following - 1; left > 0; --left) {
        if (text == end || !isContinuation(*text)) return text;
        value = value << 6 | (*text++ & 0x3Fu);
    }
    character = static_cast<wchar_t>(value);
    return text;
}

std::size_t utf8ToWide(const char* text, std::size_t length, wchar_t* dest) {
    const char* const end = text + length;
    wchar_t* out = dest;
    while (text != end) {
        if (static_cast<std::size_t>(end - text) >= blockSize && isAsciiBlock(text)) {
            for (std::size_t i = 0; i < blockSize; ++i) out[i] = static_cast<unsigned char>(text[i]);
            text += blockSize;
            out += blockSize;
        } else if (static_cast<unsigned char>(*text) < 0x80) {
            *out++ = static_cast<wchar_t>(*text++);
        } else {
            text =
                reinterpret_cast<const char*>(readUtf8(reinterpret_cast<const unsigned char*>(text),
                                                       reinterpret_cast<const unsigned char*>(end), *out++));
        }
    }
    return static_cast<std::size_t>(out - dest);
}

char continuation(std::uint32_t value) { return static_cast<char>(0x80 | (value & 0x3F)); }

char* writeUtf8(std::uint32_t value, char* out) {
    if ((value >= 0xD800 && value <= 0xDFFF) || value > 0x10FFFF) value = replacement;
    if (value < 0x80) {
        *out++ = static_cast<char>(value);
    } else if (value < 0x800) {
        *out++ = static_cast<char>(0xC0 | value >> 6);
        *out++ = continuation(value);
    } else if (value < 0x10000) {
        *out++ = static_cast<char>(0xE0 | value >> 12);
        *out++ = continuation(value >> 6);
        *out++ = continuation(value);
    } else {
        *out++ = static_cast<char>(0xF0 | value >> 18);
        *out++ = continuation(value >> 12);
        *out++ = continuation(value >> 6);
        *out++ = continuation(value);
    }
    return out;
}

std::size_t wideToUtf8(const wchar_t* text, std::size_t length, char* dest) {
    const wchar_t* const end = text + length;
    char* out = dest;
    while (text != end) {
        if (static_cast<std::size_t>(end - text) >= blockSize && isAsciiBlock(text)) {
            for (std::size_t i = 0; i < blockSize; ++i) out[i] = static_cast<char>(text[i]);
            text += blockSize;
            out += blockSize;
        } else {
            out = writeUtf8(static_cast<std::uint32_t>(*text++), out);
        }
    }
    return static_cast<std::size_t>(out - dest);
}

}  // namespace

std::size_t toWide(CodePage codePage, const char* text, std::size_t length, wchar_t* dest) {
    if (codePage == CodePage::utf8) return utf8ToWide(text, length, dest);
    const AnsiTable& table = AnsiTable::instance();
    for (std::size_t i = 0; i < length; ++i) dest[i] = table.widen(text[i]);
    return length;
}

std::size_t toNarrow(CodePage codePage, const wchar_t* text, std::size_t length, char* dest) {
    if (codePage == CodePage::utf8) return wideToUtf8(text, length, dest);
    const AnsiTable& table = AnsiTable::instance();
    for (std::size_t i = 0; i < length; ++i) dest[i] = table.narrow(text[i]);
    return length;
}

}  // namespace OrvoSupport::platform
