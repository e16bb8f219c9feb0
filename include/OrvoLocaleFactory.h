// Locales of the supported languages, and the library's default locale.
#ifndef ORVO_LOCALE_FACTORY_H
#define ORVO_LOCALE_FACTORY_H

#include <locale>

#include "OrvoExport.h"
#include "OrvoString.h"

namespace OrvoSupport {

/// Locales for a fixed set of user-interface languages, and the language and country of any locale as
/// two-letter codes. The tables are filled, and the default locale is captured, by the first call of any
/// function.
///
/// Thread safety: any function may be called from any thread, the first call included.
class OSUPT_API OrvoLocaleFactory {
public:
    /// The numbers are part of the interface; hosts store them.
    enum Language : int { German = 0, English, Spanish, French, Japanese, Chinese, Classic };

    /// The locale of a language, with all categories. A language that neither the C++ run-time library nor
    /// the system has data for, and a value outside the enumeration, give English, and where that is missing
    /// too the classic locale. Never throws for a missing locale.
    ///
    /// Where the system has the data but the C++ run-time library cannot build named locales, the result
    /// formats times, numbers and money of that language, sorts by it, knows its letters, and has the name
    /// "*"; getLanguage() and getCountry() still know it. Its ctype facets take narrow characters for single
    /// bytes of the ANSI code page (ansi_ctype converts whole texts); files are read and written as in the
    /// classic locale.
    static std::locale getLocale(Language language);

    /// The process's global locale as it was when the library first needed a locale. `reload` changes
    /// nothing; it is accepted for the hosts that pass it.
    static std::locale getDefaultLocale(bool reload = false);

    /// The language code of a locale ("de" for "German_Germany.1252" and for "de_DE.UTF-8"): its name up to
    /// the first "_", translated when it is one of the known language names and unchanged when not ("C").
    static string getLanguage(const std::locale& locale);

    /// The country code of a locale ("DE" for "German_Germany.1252"): its name behind the first "_" and in
    /// front of the next ".", translated when it is one of the known countries and unchanged when not. A name
    /// without "_" is taken whole. Mexico is reported as "ES": hosts file their one Spanish text under it.
    static string getCountry(const std::locale& locale);

private:
    static void initializeLanguageCountryCode();
};

}  // namespace OrvoSupport

#endif
