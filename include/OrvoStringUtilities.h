// Conversion between narrow and wide text.
#ifndef ORVO_STRING_UTILITIES_H
#define ORVO_STRING_UTILITIES_H

#include <locale>

#include "OrvoExport.h"
#include "OrvoString.h"

namespace OrvoSupport {

/// Conversions of whole texts with the wide ctype facet of a locale.
///
/// Thread safety: any function may be called from any thread.
class OSUPT_API OrvoStringUtilities {
public:
    /// The text up to its first NUL, widened.
    static wstring widen(const string& text, std::locale locale);
    /// The text up to its first NUL, narrowed; a character the facet cannot narrow becomes a blank.
    static string narrow(const wstring& text, std::locale locale);
};

}  // namespace OrvoSupport

#endif
