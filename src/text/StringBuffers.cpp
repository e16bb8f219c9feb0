#include <cstdio>
#include <cstring>
#include <cwchar>

#include "OrvoStringUtilities.h"

namespace OrvoSupport {
namespace {

bool fits(const string& text, int size) { return size > 0 && text.size() < static_cast<std::size_t>(size); }

}  // namespace

string OrvoStringFromChar(const char* text) { return text ? string(text) : string(); }

string OrvoStringFromWideChar(const wchar_t* text) {
    if (!text || *text == L'\0') return string();
    const int length = std::snprintf(nullptr, 0, "%ls", text);
    if (length <= 0) return string();
    string narrow(static_cast<std::size_t>(length), '\0');
    std::snprintf(narrow.data(), narrow.size() + 1, "%ls", text);
    return narrow;
}

char* OrvoStringToChar(const string& text, char* dest, int size) {
    if (!dest || !fits(text, size)) return nullptr;
    std::memcpy(dest, text.c_str(), text.size() + 1);
    return dest;
}

wchar_t* OrvoStringToWideChar(const string& text, wchar_t* dest, int size) {
    if (!dest || !fits(text, size)) return nullptr;
    if (std::swprintf(dest, static_cast<std::size_t>(size), L"%hs", text.c_str()) < 0) *dest = L'\0';
    return dest;
}

}  // namespace OrvoSupport
