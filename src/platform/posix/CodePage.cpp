// Linux half of CodePage: a UTF-8 codec, and the single-byte code page the library was built for.
#include "platform/CodePage.h"

#include <cstdint>
#include <cstring>

#include "platform/posix/AnsiTable.h"

namespace OrvoSupport::platform {
namespace {

constexpr std::size_t blockSize = 16;
constexpr std::uint32_t replacement = 0xFFFD;

std::uint32_t byteAt(const char* text) { return static_cast<unsigned char>(*text); }

bool isAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }
bool isAscii(wchar_t c) { return static_cast<std::uint32_t>(c) < 0x80; }

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

// Copies the ASCII characters that the range starts with, a block at a time as long as that goes; most text
// of most languages is made of them.
template <class From, class To>
void copyAsciiRun(const From*& text, const From* end, To*& out) {
    while (static_cast<std::size_t>(end - text) >= blockSize && isAsciiBlock(text)) {
        for (std::size_t i = 0; i < blockSize; ++i) out[i] = static_cast<To>(text[i]);
        text += blockSize;
        out += blockSize;
    }
    while (text != end && isAscii(*text)) *out++ = static_cast<To>(*text++);
}

bool isContinuation(std::uint32_t byte) { return (byte & 0xC0) == 0x80; }
bool isSurrogate(std::uint32_t value) { return (value & 0xFFFFF800u) == 0xD800; }

// How many bytes follow a lead byte, and where the first of them must lie; nothing follows what is none.
struct Lead {
    int following;
    std::uint32_t least, most;
};

Lead leadOf(std::uint32_t byte) {
    if (byte < 0xC2 || byte > 0xF4) return {0, 0, 0};
    if (byte < 0xE0) return {1, 0x80, 0xBF};
    if (byte < 0xF0) return {2, byte == 0xE0 ? 0xA0u : 0x80u, byte == 0xED ? 0x9Fu : 0xBFu};
    return {3, byte == 0xF0 ? 0x90u : 0x80u, byte == 0xF4 ? 0x8Fu : 0xBFu};
}

// Reads the character that starts at `text`, or the maximal ill-formed part there.
std::uint32_t readSequence(const char*& text, const char* end) {
    const Lead lead = leadOf(byteAt(text));
    std::uint32_t value = byteAt(text++) & (0x3Fu >> lead.following);
    if (lead.following == 0 || text == end || byteAt(text) < lead.least || byteAt(text) > lead.most)
        return replacement;
    value = value << 6 | (byteAt(text++) & 0x3F);
    for (int left = lead.following - 1; left > 0; --left) {
        if (text == end || !isContinuation(byteAt(text))) return replacement;
        value = value << 6 | (byteAt(text++) & 0x3F);
    }
    return value;
}

// The same, with a short way for well-formed sequences of two and three bytes.
std::uint32_t readCharacter(const char*& text, const char* end) {
    const std::uint32_t lead = byteAt(text);
    if (end - text >= 3 && isContinuation(byteAt(text + 1))) {
        const std::uint32_t second = byteAt(text + 1) & 0x3F;
        if (lead >= 0xC2 && lead < 0xE0) {
            text += 2;
            return (lead & 0x1F) << 6 | second;
        }
        const std::uint32_t value = (lead & 0x0F) << 12 | second << 6 | (byteAt(text + 2) & 0x3F);
        if ((lead & 0xF0) == 0xE0 && isContinuation(byteAt(text + 2)) && value >= 0x800 &&
            !isSurrogate(value)) {
            text += 3;
            return value;
        }
    }
    return readSequence(text, end);
}

std::size_t utf8ToWide(const char* text, std::size_t length, wchar_t* dest) {
    const char* const end = text + length;
    wchar_t* out = dest;
    while (text != end) {
        if (isAscii(*text))
            copyAsciiRun(text, end, out);
        else
            *out++ = static_cast<wchar_t>(readCharacter(text, end));
    }
    return static_cast<std::size_t>(out - dest);
}

char continuation(std::uint32_t value) { return static_cast<char>(0x80 | (value & 0x3F)); }

// Writes a character beyond ASCII.
void writeCharacter(std::uint32_t value, char*& out) {
    if (isSurrogate(value) || value > 0x10FFFF) value = replacement;
    if (value < 0x800) {
        *out++ = static_cast<char>(0xC0 | value >> 6);
    } else {
        if (value < 0x10000) {
            *out++ = static_cast<char>(0xE0 | value >> 12);
        } else {
            *out++ = static_cast<char>(0xF0 | value >> 18);
            *out++ = continuation(value >> 12);
        }
        *out++ = continuation(value >> 6);
    }
    *out++ = continuation(value);
}

std::size_t wideToUtf8(const wchar_t* text, std::size_t length, char* dest) {
    const wchar_t* const end = text + length;
    char* out = dest;
    while (text != end) {
        if (isAscii(*text))
            copyAsciiRun(text, end, out);
        else
            writeCharacter(static_cast<std::uint32_t>(*text++), out);
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
