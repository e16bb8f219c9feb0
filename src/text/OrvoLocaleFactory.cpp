#include "OrvoLocaleFactory.h"

namespace OrvoSupport {

std::locale OrvoLocaleFactory::getDefaultLocale(bool /*reload*/) {
    static const std::locale locale;
    return locale;
}

}  // namespace OrvoSupport
