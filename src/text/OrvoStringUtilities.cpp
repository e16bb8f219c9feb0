#include "OrvoStringUtilities.h"

namespace OrvoSupport {

wstring OrvoStringUtilities::widen(const string& text, std::locale locale) {
    wstring wide(4 * text.size() + 4, L'\0');
    std::use_facet<std::ctype<wchar_t>>(locale).widen(text.data(), text.data() + text.size(), wide.data());
    return wide.c_str();
}

string OrvoStringUtilities::narrow(const wstring& text, std::locale locale) {
    string narrow(4 * text.size() + 4, '\0');
    std::use_facet<std::ctype<wchar_t>>(locale).narrow(text.data(), text.data() + text.size(), ' ',
                                                       narrow.data());
    return narrow.c_str();
}

}  // namespace OrvoSupport
