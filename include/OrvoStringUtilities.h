// Conversion between narrow, wide and UTF-8 text: facets for locales, whole texts, and C-style buffers.
#ifndef ORVO_STRING_UTILITIES_H
#define ORVO_STRING_UTILITIES_H

#include <cstddef>
#include <locale>

#include "OrvoExport.h"
#include "OrvoString.h"

namespace OrvoSupport {

/// A wide ctype facet whose range conversions use the system's ANSI code page. Install it with
/// `std::locale(base, new ansi_ctype)`; everything but conversion stays as in the standard facet.
///
/// The range forms need a destination of 4 units for each unit of input, ignore the default character, write
/// what the system's conversion gives (`?` or a look-alike for a character the code page lacks) and return
/// the start of the input, not its end. On Linux the code page is the single-byte one the library was built
/// for: bytes it does not define keep their number, each character it lacks becomes one `?`.
///
/// The single-character forms do not convert, since one character of a multi-byte text cannot be converted
/// alone: narrow(c, default) gives the default character. widen(char) is the standard facet's.
///
/// Thread safety: any method may be called from any thread.
class OSUPT_API ansi_ctype : public std::ctype<wchar_t> {
public:
    /// With 0 the locales that hold the facet own it, otherwise the caller does.
    explicit ansi_ctype(std::size_t references = 0);

protected:
    ~ansi_ctype() override;
    using std::ctype<wchar_t>::do_widen;
    virtual wchar_t do_widen(char c, wchar_t wide) const;
    const char* do_widen(const char* first, const char* last, wchar_t* dest) const override;
    char do_narrow(wchar_t c, char defaultCharacter) const override;
    const wchar_t* do_narrow(const wchar_t* first, const wchar_t* last, char defaultCharacter,
                             char* dest) const override;
};

/// The same with UTF-8 in place of the ANSI code page. Each maximal ill-formed part of a UTF-8 text becomes
/// one U+FFFD; a lone surrogate, or a value beyond U+10FFFF, is narrowed as U+FFFD.
///
/// Thread safety: any method may be called from any thread.
class OSUPT_API utf8_ctype : public std::ctype<wchar_t> {
public:
    /// With 0 the locales that hold the facet own it, otherwise the caller does.
    explicit utf8_ctype(std::size_t references = 0);

protected:
    ~utf8_ctype() override;
    using std::ctype<wchar_t>::do_widen;
    virtual wchar_t do_widen(char c, wchar_t wide) const;
    const char* do_widen(const char* first, const char* last, wchar_t* dest) const override;
    char do_narrow(wchar_t c, char defaultCharacter) const override;
    const wchar_t* do_narrow(const wchar_t* first, const wchar_t* last, char defaultCharacter,
                             char* dest) const override;
};

/// Conversions of whole texts.
///
/// Thread safety: any function may be called from any thread.
class OSUPT_API OrvoStringUtilities {
public:
    /// Converts with the wide ctype facet of the locale, which gets a zero-filled destination of
    /// 4 * size + 4 units; the result ends before the first NUL. Throws OrvoException when the locale has no
    /// such facet, or when a standard exception is raised on the way.
    static wstring widen(const string& text, std::locale locale);
    /// The way back, on the same terms; the default character handed to the facet is a blank.
    static string narrow(const wstring& text, std::locale locale);

    /// A new COM string (`BSTR`) of the text up to its first NUL; the caller frees it with freeBSTR, which is
    /// SysFreeString on Windows. On Linux it is the wide text with its NUL, right behind a 32-bit length in
    /// bytes. Throws OrvoException when there is no memory for it.
    static wchar_t* makeBSTR(const wstring& text);
    /// A copy of a COM string up to its first NUL; null gives the empty string. Bytes behind the last whole
    /// character count as one more, filled up with zeros. Throws OrvoException when there is no memory for
    /// it.
    static wstring widen(wchar_t* const& bstr);
    /// Releases what makeBSTR returned; null is allowed.
    static void freeBSTR(wchar_t* bstr);
};

/// The string up to the first NUL; null gives the empty string. May be called from any thread.
OSUPT_API string OrvoStringFromChar(const char* text);

/// The text up to its first NUL, narrowed as the C library formats it with `%ls` in the current C locale;
/// null gives the empty string, and so does, on Linux, a text with a character that this locale cannot
/// express (on Windows the result ends before it). May be called from any thread; no call may overlap a
/// setlocale().
OSUPT_API string OrvoStringFromWideChar(const wchar_t* text);

/// Copies the text and a terminating NUL into dest, which has room for size characters, and returns dest.
/// Returns null and copies nothing when dest is null or the text does not fit. Reentrant.
OSUPT_API char* OrvoStringToChar(const string& text, char* dest, int size);

/// Widens the text up to its first NUL into dest as the C library formats it with `%hs` in the current C
/// locale, and returns dest; a text that is ill-formed there may leave dest empty or cut. Returns null and
/// writes nothing when dest is null or text.size() is not below size, the room of dest in characters. May be
/// called from any thread; no call may overlap a setlocale().
OSUPT_API wchar_t* OrvoStringToWideChar(const string& text, wchar_t* dest, int size);

}  // namespace OrvoSupport

#endif
