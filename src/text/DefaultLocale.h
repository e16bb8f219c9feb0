// The library's default locale without the price of a copy.
#ifndef OSUPT_TEXT_DEFAULT_LOCALE_H
#define OSUPT_TEXT_DEFAULT_LOCALE_H

#include <locale>

namespace OrvoSupport {

/// What OrvoLocaleFactory::getDefaultLocale() returns a copy of; captured by the first call of either. Stays
/// until the library is unloaded. May be called from any thread.
const std::locale& defaultLocale();

}  // namespace OrvoSupport

#endif
