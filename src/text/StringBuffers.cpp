#include <climits>
#include <cstring>
#include <cwchar>

#include "OrvoStringUtilities.h"

namespace OrvoSupport {
namespace {

bool fits(const string& text, int size) { return size > 0 && text.size() < static_cast<std::size_t>(size); }

}  // namespace

string OrvoStringFromChar(const char* text) { return text ? string(text) : string(); }

string OrvoStringFromWideChar(const wchar_t* text) {
    string narrow;
    std::mbstate_t state{};
    char bytes[MB_LEN_MAX];
    for (; text && *text; ++text) {
        const std::size_t count = std::wcrtomb(bytes, *text, &state);
        if (count == static_cast<std::size_t>(-1)) break;
        narrow.append(bytes, count);
    }
    return narrow;
}

char* OrvoStringToChar(const string& text, char* dest, int size) {
    if (!dest || !fits(text, size)) return nullptr;
    std::memcpy(dest, text.c_str(), text.size() + 1);
    return dest;
}

wchar_t* OrvoStringToWideChar(const string& text, wchar_t* dest, int size) {
    if (!dest || !fits(text, size)) return nullptr;
    std::mbstate_t state{};
    const char* position = text.data();
    const char* const end = position + text.size();
    wchar_t* out = dest;
    while (position != end) {
        const std::size_t count =
            std::mbrtowc(out, position, static_cast<std::size_t>(end - position), &state);
        // 0 is a NUL; the two largest values are an ill-formed and an unfinished character.
        if (count == 0 || count > text.size()) break;
        position += count;
        ++out;
    }
    *out = L'\0';
    return dest;
}

}  // namespace OrvoSupport
