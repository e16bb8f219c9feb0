#include "platform/ErrorText.h"

#include <string.h>

namespace OrvoSupport::platform {

// The untranslated texts: all ASCII, so that narrow and wide agree in every locale, and none for what is
// not an error code.
std::string errorText(int code) {
    const char* const text = ::strerrordesc_np(code);
    return text ? text : "";
}

std::wstring wideErrorText(int code) {
    const std::string text = errorText(code);
    return std::wstring(text.begin(), text.end());
}

}  // namespace OrvoSupport::platform
