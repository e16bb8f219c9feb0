// Long paths on Windows: a plain path ends at MAX_PATH, an extended one at 32,767 characters.
#include "platform/win32/SystemPath.h"

#include <windows.h>

namespace OrvoSupport::platform {
namespace {

// The longest path of a new directory leaves room for a short file name within MAX_PATH.
constexpr std::size_t longestPlainPath = MAX_PATH - 12 - 1;

bool startsWith(const std::wstring& text, const wchar_t* start) { return text.rfind(start, 0) == 0; }

UINT fileCodePage() { return ::AreFileApisANSI() ? CP_ACP : CP_OEMCP; }

}  // namespace

std::wstring wideFileName(const std::string& text) {
    const int size = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0');
    wide.resize(static_cast<std::size_t>(
        ::MultiByteToWideChar(fileCodePage(), 0, text.data(), size, wide.data(), size)));
    return wide;
}

std::string narrowFileName(const wchar_t* text) {
    const int size = ::WideCharToMultiByte(fileCodePage(), 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 0) return std::string();
    std::string narrow(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(fileCodePage(), 0, text, -1, narrow.data(), size, nullptr, nullptr);
    narrow.pop_back();
    return narrow;
}

std::wstring extendedPath(const std::wstring& path) {
    const DWORD size = ::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    if (size == 0) return path;
    std::wstring full(size, L'\0');
    const DWORD length = ::GetFullPathNameW(path.c_str(), size, full.data(), nullptr);
    if (length == 0 || length >= size) return path;
    full.resize(length);
    if (startsWith(full, L"\\\\?\\") || startsWith(full, L"\\\\.\\")) return full;
    if (startsWith(full, L"\\\\")) return L"\\\\?\\UNC" + full.substr(1);
    return L"\\\\?\\" + full;
}

std::wstring systemPath(const std::string& path) {
    const std::wstring wide = wideFileName(path);
    return wide.size() <= longestPlainPath ? wide : extendedPath(wide);
}

}  // namespace OrvoSupport::platform
