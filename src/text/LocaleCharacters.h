// The character facets of a locale over the system's own locale data.
#ifndef OSUPT_TEXT_LOCALE_CHARACTERS_H
#define OSUPT_TEXT_LOCALE_CHARACTERS_H

#include <locale>
#include <memory>

#include "platform/Locales.h"

namespace OrvoSupport {

/// `base` with the narrow and wide ctype facets of the data: which characters are letters, digits and so on,
/// and their other case. Narrow characters are single bytes of the system's ANSI code page; what takes more
/// of them, or is not in it, has no narrow form and gives the default character.
std::locale withCharacters(const std::locale& base, std::shared_ptr<const platform::LocaleData> data);

}  // namespace OrvoSupport

#endif
