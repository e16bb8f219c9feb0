#include <cstdio>

#include "OrvoLibrary.h"
#include "platform/ErrorText.h"

namespace OrvoSupport {
namespace {

template <class String>
void trim(String& text, const typename String::value_type* characters) {
    const std::size_t begin = text.find_first_not_of(characters);
    if (begin == String::npos) {
        text.clear();
        return;
    }
    text.erase(text.find_last_not_of(characters) + 1);
    text.erase(0, begin);
}

string unrecognized(int code) {
    char buffer[1024];
    std::snprintf(buffer, sizeof buffer, "Unrecognized error code: %d (0x%08x)", code,
                  static_cast<unsigned int>(code));
    return buffer;
}

}  // namespace

void OrvoGetOSErrorMessage(int code, string& text) {
    text = platform::errorText(code);
    trim(text, " \t\r\n");
    if (text.empty()) text = unrecognized(code);
}

void OrvoGetOSErrorMessage(int code, wstring& text) {
    text = platform::wideErrorText(code);
    trim(text, L" \t\r\n");
    if (!text.empty()) return;
    const string ascii = unrecognized(code);
    text.assign(ascii.begin(), ascii.end());
}

}  // namespace OrvoSupport
