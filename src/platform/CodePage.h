// Conversion between narrow and wide text by code page.
#ifndef OSUPT_PLATFORM_CODE_PAGE_H
#define OSUPT_PLATFORM_CODE_PAGE_H

#include <cstddef>

namespace OrvoSupport::platform {

enum class CodePage {
    ansi,  ///< the system's ANSI code page
    utf8,
};

/// Converts `length` units into dest, which has room for 4 units for each of them; more than any text needs.
/// Any input is converted: what is ill-formed or cannot be mapped becomes the system's substitute. NULs are
/// ordinary, none is added, and nothing outside the two ranges is touched. Returns the number of units
/// written. Throws std::length_error for a text longer than the system's conversion takes.
std::size_t toWide(CodePage codePage, const char* text, std::size_t length, wchar_t* dest);
std::size_t toNarrow(CodePage codePage, const wchar_t* text, std::size_t length, char* dest);

}  // namespace OrvoSupport::platform

#endif
