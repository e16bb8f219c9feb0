#include "config/RegistryEncoding.h"

#include <algorithm>
#include <cstddef>

#include "platform/CodePage.h"

namespace OrvoSupport {
namespace {

using platform::CodePage;

constexpr std::string_view utf16Mark = "\xFF\xFE";
constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
constexpr std::size_t pieceSize = 64 * 1024;

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

void appendWide(std::wstring& wide, CodePage codePage, std::string_view text) {
    const std::size_t length = wide.size();
    wide.resize(length + 4 * text.size());
    wide.resize(length + platform::toWide(codePage, text.data(), text.size(), &wide[length]));
}

// Piece by piece, since a conversion wants much room. An ASCII byte ends a character in every encoding here.
std::wstring wideFrom(CodePage codePage, std::string_view text) {
    std::wstring wide;
    while (!text.empty()) {
        std::size_t length = std::min(pieceSize, text.size());
        while (length < text.size() && static_cast<unsigned char>(text[length - 1]) >= 0x80) ++length;
        appendWide(wide, codePage, text.substr(0, length));
        text.remove_prefix(length);
    }
    return wide;
}

// 32-bit characters hold a surrogate pair as one.
void appendUnit(std::wstring& wide, unsigned unit) {
    const bool isLowHalf = sizeof(wchar_t) == 4 && unit >= 0xDC00 && unit <= 0xDFFF;
    const unsigned before = wide.empty() ? 0 : static_cast<unsigned>(wide.back());
    if (isLowHalf && before >= 0xD800 && before <= 0xDBFF)
        wide.back() = static_cast<wchar_t>(0x10000 + ((before - 0xD800) << 10) + (unit - 0xDC00));
    else
        wide += static_cast<wchar_t>(unit);
}

// Letters come in two blocks a fixed distance apart, or in pairs whose upper case is the even or the odd one.
wchar_t folded(wchar_t c) {
    const auto within = [c](int first, int last) { return c >= first && c <= last; };
    const auto plus = [c](int distance) { return static_cast<wchar_t>(c + distance); };
    if (within('A', 'Z') || (within(0xC0, 0xDE) && c != 0xD7)) return plus(0x20);
    if (within(0x100, 0x12F) || within(0x132, 0x137) || within(0x14A, 0x177)) return plus(c % 2 == 0);
    if (within(0x139, 0x148) || within(0x179, 0x17E)) return plus(c % 2 != 0);
    if (c == 0x178) return 0xFF;
    if (within(0x391, 0x3A9) && c != 0x3A2) return plus(0x20);
    if (c == 0x386) return 0x3AC;
    if (within(0x388, 0x38A)) return plus(0x25);
    if (c == 0x38C) return 0x3CC;
    if (within(0x38E, 0x38F)) return plus(0x3F);
    if (within(0x410, 0x42F)) return plus(0x20);
    if (within(0x400, 0x40F)) return plus(0x50);
    if (within(0x490, 0x491)) return plus(c % 2 == 0);
    return c;
}

}  // namespace

bool isAnsiRegistryFile(std::string_view bytes) { return startsWith(bytes, "REGEDIT4"); }

std::wstring registryFileText(std::string_view bytes) {
    if (startsWith(bytes, utf16Mark)) return wideFromUnits(bytes.substr(utf16Mark.size()));
    if (isAnsiRegistryFile(bytes)) return wideFromAnsi(bytes);
    return wideFrom(CodePage::utf8, bytes.substr(startsWith(bytes, utf8Mark) ? utf8Mark.size() : 0));
}

std::wstring wideFromUnits(std::string_view bytes) {
    std::wstring wide;
    wide.reserve(bytes.size() / 2);
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2)
        appendUnit(wide, static_cast<unsigned char>(bytes[at]) |
                             static_cast<unsigned>(static_cast<unsigned char>(bytes[at + 1])) << 8);
    return wide;
}

std::wstring wideFromAnsi(std::string_view text) { return wideFrom(CodePage::ansi, text); }

std::string ansiFromWide(std::wstring_view text) {
    std::string narrow(4 * text.size(), '\0');
    narrow.resize(platform::toNarrow(CodePage::ansi, text.data(), text.size(), narrow.data()));
    return narrow;
}

std::wstring foldedName(std::wstring_view name) {
    std::wstring result(name);
    std::transform(result.begin(), result.end(), result.begin(), folded);
    return result;
}

}  // namespace OrvoSupport
