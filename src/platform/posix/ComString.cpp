// Linux half of ComString: the layout of the Windows original in memory of the C library.
#include "platform/ComString.h"

#include <errno.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <system_error>

namespace OrvoSupport::platform {
namespace {

// The prefix takes exactly one character, so that the text behind it is aligned.
using LengthPrefix = std::uint32_t;
static_assert(sizeof(LengthPrefix) == sizeof(wchar_t));

}  // namespace

wchar_t* allocateComString(const wchar_t* text, std::size_t length) {
    if (length > INT32_MAX / sizeof(wchar_t) - 2) return nullptr;
    void* block = std::malloc((length + 2) * sizeof(wchar_t));
    if (!block) return nullptr;
    const LengthPrefix bytes = static_cast<LengthPrefix>(length * sizeof(wchar_t));
    std::memcpy(block, &bytes, sizeof bytes);
    wchar_t* comString = static_cast<wchar_t*>(block) + 1;
    std::wmemcpy(comString, text, length);
    comString[length] = L'\0';
    return comString;
}

std::size_t comStringBytes(const wchar_t* comString) {
    if (!comString) return 0;
    LengthPrefix bytes = 0;
    std::memcpy(&bytes, comString - 1, sizeof bytes);
    return bytes;
}

void freeComString(wchar_t* comString) {
    if (comString) std::free(comString - 1);
}

std::string comStringErrorText() { return std::system_category().message(ENOMEM); }

}  // namespace OrvoSupport::platform
