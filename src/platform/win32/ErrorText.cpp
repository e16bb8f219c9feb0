#include "platform/ErrorText.h"

#include <windows.h>

namespace OrvoSupport::platform {
namespace {

constexpr DWORD flags =
    FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
constexpr DWORD languageNeutral = MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT);

template <class Char>
std::basic_string<Char> takeText(Char* buffer, DWORD length) {
    if (!buffer) return {};
    std::basic_string<Char> text(buffer, length);
    ::LocalFree(buffer);
    return text;
}

}  // namespace

std::string errorText(int code) {
    char* buffer = nullptr;
    const DWORD length = ::FormatMessageA(flags, nullptr, static_cast<DWORD>(code), languageNeutral,
                                          reinterpret_cast<char*>(&buffer), 0, nullptr);
    return takeText(length ? buffer : nullptr, length);
}

std::wstring wideErrorText(int code) {
    wchar_t* buffer = nullptr;
    const DWORD length = ::FormatMessageW(flags, nullptr, static_cast<DWORD>(code), languageNeutral,
                                          reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
    return takeText(length ? buffer : nullptr, length);
}

}  // namespace OrvoSupport::platform
