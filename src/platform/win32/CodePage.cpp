// Win32 half of CodePage: MultiByteToWideChar and WideCharToMultiByte.
#include "platform/CodePage.h"

#include <windows.h>

#include <climits>
#include <stdexcept>

namespace OrvoSupport::platform {
namespace {

UINT toWin32(CodePage codePage) { return codePage == CodePage::utf8 ? CP_UTF8 : CP_ACP; }

// Lengths are ints there, the destination's among them; a negative one would mean "up to the NUL".
int checkedLength(std::size_t length) {
    if (length > INT_MAX / 4) throw std::length_error("text too long to convert");
    return static_cast<int>(length);
}

}  // namespace

std::size_t toWide(CodePage codePage, const char* text, std::size_t length, wchar_t* dest) {
    if (length == 0) return 0;
    const int units = checkedLength(length);
    const int written = ::MultiByteToWideChar(toWin32(codePage), 0, text, units, dest, 4 * units);
    return static_cast<std::size_t>(written);
}

std::size_t toNarrow(CodePage codePage, const wchar_t* text, std::size_t length, char* dest) {
    if (length == 0) return 0;
    const int units = checkedLength(length);
    const int written =
        ::WideCharToMultiByte(toWin32(codePage), 0, text, units, dest, 4 * units, nullptr, nullptr);
    return static_cast<std::size_t>(written);
}

}  // namespace OrvoSupport::platform
