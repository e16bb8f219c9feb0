#include "text/LocaleCodes.h"

namespace OrvoSupport {
namespace {

std::string codeOr(const std::map<std::string, std::string>& codes, const std::string& name) {
    const auto code = codes.find(name);
    return code == codes.end() ? name : code->second;
}

}  // namespace

LocaleCodes::LocaleCodes()
    : m_languages{{"German", "de"}, {"English", "en"},  {"Spanish", "es"},
                  {"French", "fr"}, {"Japanese", "ja"}, {"Chinese", "zh"}},
      m_countries{{"United States", "US"},
                  {"Germany", "DE"},
                  {"Mexico", "ES"},  // hosts file their one Spanish text under Spain
                  {"MX", "ES"},      // the same where names already hold codes
                  {"France", "FR"},
                  {"Japan", "JP"},
                  {"People's Republic of China", "CN"},
                  {"Taiwan", "TW"}} {}

std::string LocaleCodes::languageOf(const std::string& localeName) const {
    return codeOr(m_languages, localeName.substr(0, localeName.find('_')));
}

std::string LocaleCodes::countryOf(const std::string& localeName) const {
    const std::size_t separator = localeName.find('_');
    const std::string country =
        separator == std::string::npos ? localeName : localeName.substr(separator + 1);
    return codeOr(m_countries, country.substr(0, country.find('.')));
}

}  // namespace OrvoSupport
