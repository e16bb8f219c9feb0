// The four string types of the library: narrow and wide, each with and without regard to case.
#ifndef ORVO_STRING_H
#define ORVO_STRING_H

#include <cctype>
#include <cstddef>
#include <cwctype>
#include <string>

/// Character traits that compare without regard to case: characters are folded with tolower or towlower of
/// the current C locale, the first difference decides, and a prefix sorts first.
///
/// Thread safety: as tolower; no call may overlap a setlocale().
template <class Char>
struct char_traits_ci : std::char_traits<Char> {
    /// The lower-case form of a character in the current C locale.
    static char fold(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }
    static wchar_t fold(wchar_t c) {
        return static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(c)));
    }

    static bool eq(Char a, Char b) { return fold(a) == fold(b); }
    static bool lt(Char a, Char b) { return std::char_traits<Char>::lt(fold(a), fold(b)); }

    static int compare(const Char* a, const Char* b, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            if (a[i] == b[i]) continue;  // most characters agree as they stand
            const Char x = fold(a[i]);
            const Char y = fold(b[i]);
            if (std::char_traits<Char>::lt(x, y)) return -1;
            if (std::char_traits<Char>::lt(y, x)) return 1;
        }
        return 0;
    }

    static const Char* find(const Char* text, std::size_t count, const Char& wanted) {
        for (std::size_t i = 0; i < count; ++i)
            if (eq(text[i], wanted)) return text + i;
        return nullptr;
    }
};

namespace OrvoSupport {

using string = std::string;    ///< narrow text in the system's code page
using wstring = std::wstring;  ///< wide text, UTF-16 or UTF-32 as wchar_t has it
using string_ci = std::basic_string<char, char_traits_ci<char>>;         ///< narrow, case does not matter
using wstring_ci = std::basic_string<wchar_t, char_traits_ci<wchar_t>>;  ///< wide, case does not matter

}  // namespace OrvoSupport

#endif
