#include "OrvoLocaleFactory.h"

#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>

#include "text/DefaultLocale.h"
#include "text/LocaleCodes.h"
#include "text/LocaleFacets.h"

namespace OrvoSupport {
namespace {

struct Row {
    platform::LocaleId id;
    const char* fullName;  // what the Microsoft C run-time library makes of the short one
};

struct Tables {
    std::map<int, Row> locales;
    LocaleCodes codes;
    std::locale defaultLocale;
};

const Row english{{"English", "en", "US"}, "English_United States"};

/// The tables, filled once. Statics of the host may need them before this object's own life and after it; who
/// comes after it has them filled again.
class TablesOnce {
public:
    constexpr TablesOnce() = default;
    ~TablesOnce() { delete m_tables.exchange(nullptr); }

    const Tables* get() const { return m_tables.load(std::memory_order_acquire); }

    /// Of several threads that fill them at once the first wins.
    void publish(std::unique_ptr<const Tables> filled) {
        const Tables* none = nullptr;
        if (m_tables.compare_exchange_strong(none, filled.get())) filled.release();
    }

private:
    std::atomic<const Tables*> m_tables{nullptr};
};

TablesOnce tables;

std::optional<std::locale> named(const std::string& name) {
    try {
        return std::locale(name);
    } catch (const std::runtime_error&) {  // "bad locale name"
        return std::nullopt;
    }
}

std::optional<std::locale> build(const Row& row) {
    for (const std::string& name : platform::localeNames(row.id))
        if (auto locale = named(name)) return locale;
    if (auto data = platform::LocaleData::open(row.id)) return localeOver(std::move(data), row.fullName);
    return std::nullopt;
}

string nameOf(const std::locale& locale) {
    if (std::has_facet<LocaleNameFacet>(locale)) return std::use_facet<LocaleNameFacet>(locale).name();
    return locale.name();
}

const Tables& filled(void (*fill)()) {
    const Tables* current = tables.get();
    if (!current) {
        fill();
        current = tables.get();
    }
    return *current;
}

}  // namespace

void OrvoLocaleFactory::initializeLanguageCountryCode() {
    auto fresh = std::make_unique<Tables>();
    fresh->locales = {
        {German, {{"german", "de", "DE"}, "German_Germany"}},
        {English, {{"english-us", "en", "US"}, "English_United States"}},
        {Spanish, {{"spanish-mexican", "es", "MX"}, "Spanish_Mexico"}},
        {French, {{"french", "fr", "FR"}, "French_France"}},
        {Japanese, {{"japanese", "ja", "JP"}, "Japanese_Japan"}},
        {Chinese, {{"chinese", "zh", "CN"}, "Chinese_People's Republic of China"}},
    };
    tables.publish(std::move(fresh));
}

std::locale OrvoLocaleFactory::getLocale(Language language) {
    const auto& locales = filled(initializeLanguageCountryCode).locales;
    if (language == Classic) return std::locale::classic();
    const auto row = locales.find(language);
    if (row != locales.end())
        if (auto locale = build(row->second)) return *locale;
    return build(english).value_or(std::locale::classic());
}

std::locale OrvoLocaleFactory::getDefaultLocale(bool /*reload*/) {
    return filled(initializeLanguageCountryCode).defaultLocale;
}

const std::locale& defaultLocale() {
    const Tables* current = tables.get();
    if (current) return current->defaultLocale;
    OrvoLocaleFactory::getDefaultLocale();
    return tables.get()->defaultLocale;
}

string OrvoLocaleFactory::getLanguage(const std::locale& locale) {
    return filled(initializeLanguageCountryCode).codes.languageOf(nameOf(locale));
}

string OrvoLocaleFactory::getCountry(const std::locale& locale) {
    return filled(initializeLanguageCountryCode).codes.countryOf(nameOf(locale));
}

}  // namespace OrvoSupport
