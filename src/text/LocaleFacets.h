// A standard locale over the system's own locale data, for run-time libraries that know no locale by name.
#ifndef OSUPT_TEXT_LOCALE_FACETS_H
#define OSUPT_TEXT_LOCALE_FACETS_H

#include <locale>
#include <memory>
#include <string>

#include "platform/Locales.h"

namespace OrvoSupport {

/// Carries the name ("German_Germany") of a locale that was put together from facets and so has none.
class LocaleNameFacet : public std::locale::facet {
public:
    static std::locale::id id;

    explicit LocaleNameFacet(std::string name) : m_name(std::move(name)) {}
    const std::string& name() const { return m_name; }

private:
    std::string m_name;
};

/// The classic locale with characters, times, numbers, money and collation of the data. Narrow text is in the
/// system's ANSI code page.
std::locale localeOver(std::shared_ptr<const platform::LocaleData> data, const std::string& name);

}  // namespace OrvoSupport

#endif
