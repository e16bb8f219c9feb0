// COM strings: wide text with a NUL behind it and its length in bytes before it.
#ifndef OSUPT_PLATFORM_COM_STRING_H
#define OSUPT_PLATFORM_COM_STRING_H

#include <cstddef>
#include <string>

namespace OrvoSupport::platform {

/// A new COM string of `length` characters, or null when there is no memory for it.
wchar_t* allocateComString(const wchar_t* text, std::size_t length);

/// The length in bytes, NULs included, which need not make whole characters; 0 for null.
std::size_t comStringBytes(const wchar_t* comString);

/// Releases a COM string; null is allowed.
void freeComString(wchar_t* comString);

/// The system's text for an allocation that failed.
std::string comStringErrorText();

}  // namespace OrvoSupport::platform

#endif
