#include "OrvoLocaleFactory.h"

#include <atomic>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace OrvoSupport {
namespace {

/// The default locale, captured once. Statics of the host may ask for it before and after this object's own
/// life; then it is captured (again) for them.
class DefaultLocale {
public:
    constexpr DefaultLocale() = default;
    ~DefaultLocale() { delete m_locale.exchange(nullptr); }

    const std::locale& get() {
        const std::locale* locale = m_locale.load(std::memory_order_acquire);
        return locale ? *locale : capture();
    }

private:
    const std::locale& capture() {
        auto fresh = std::make_unique<const std::locale>();
        const std::locale* current = nullptr;
        if (m_locale.compare_exchange_strong(current, fresh.get())) current = fresh.release();
        return *current;
    }

    std::atomic<const std::locale*> m_locale{nullptr};
};

DefaultLocale defaultLocale;

}  // namespace

std::locale OrvoLocaleFactory::getDefaultLocale(bool /*reload*/) { return defaultLocale.get(); }

}  // namespace OrvoSupport
