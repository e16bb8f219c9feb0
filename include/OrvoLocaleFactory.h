// Locales of the supported languages, and the library's default locale.
#ifndef ORVO_LOCALE_FACTORY_H
#define ORVO_LOCALE_FACTORY_H

#include <locale>

#include "OrvoExport.h"
#include "OrvoString.h"

namespace OrvoSupport {

/// Thread safety: any function may be called from any thread.
class OSUPT_API OrvoLocaleFactory {
public:
    /// The process's global locale as it was when the library first needed one.
    static std::locale getDefaultLocale(bool reload = false);
};

}  // namespace OrvoSupport

#endif
