// Text in the encodings of exported registry files.
#ifndef OSUPT_CONFIG_REGISTRY_ENCODING_H
#define OSUPT_CONFIG_REGISTRY_ENCODING_H

#include <string>
#include <string_view>

namespace OrvoSupport {

/// Whether a file of these bytes was written for systems that knew only the ANSI code page.
bool isAnsiRegistryFile(std::string_view bytes);
/// The text of a whole file, without a byte-order mark.
std::wstring registryFileText(std::string_view bytes);

/// UTF-16LE; half a unit at the end is dropped.
std::wstring wideFromUnits(std::string_view bytes);
/// The ANSI code page, there and back. What it lacks becomes the system's substitute.
std::wstring wideFromAnsi(std::string_view text);
std::string ansiFromWide(std::wstring_view text);

/// The name that all spellings of a name in upper and lower case have in common, for the letters of the
/// European single-byte code pages and whatever the C locale says.
std::wstring foldedName(std::wstring_view name);

}  // namespace OrvoSupport

#endif
