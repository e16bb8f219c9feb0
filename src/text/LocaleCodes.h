// Two-letter codes of the language and country in a locale's name.
#ifndef OSUPT_TEXT_LOCALE_CODES_H
#define OSUPT_TEXT_LOCALE_CODES_H

#include <map>
#include <string>

namespace OrvoSupport {

/// Reads names such as "German_Germany.1252" and "de_DE.UTF-8". OrvoLocaleFactory says what of any name is
/// answered.
class LocaleCodes {
public:
    LocaleCodes();

    std::string languageOf(const std::string& localeName) const;
    std::string countryOf(const std::string& localeName) const;

private:
    using Codes = std::map<std::string, std::string>;

    Codes m_languages;
    Codes m_countries;
};

}  // namespace OrvoSupport

#endif
