// Win32 half of ComString: the automation strings of oleaut32.
#include "platform/ComString.h"

#include <windows.h>

#include <oleauto.h>

#include <climits>

namespace OrvoSupport::platform {

wchar_t* allocateComString(const wchar_t* text, std::size_t length) {
    if (length > INT_MAX / sizeof(wchar_t)) return nullptr;  // the length prefix would not hold it
    const UINT bytes = static_cast<UINT>(length * sizeof(wchar_t));
    return ::SysAllocStringByteLen(reinterpret_cast<LPCSTR>(text), bytes);
}

std::size_t comStringBytes(const wchar_t* comString) {
    return ::SysStringByteLen(const_cast<BSTR>(comString));
}

void freeComString(wchar_t* comString) { ::SysFreeString(comString); }

std::string comStringErrorText() {
    char text[512];
    const DWORD length = ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                          static_cast<DWORD>(E_OUTOFMEMORY), 0, text, sizeof text, nullptr);
    std::string message(text, length);
    while (!message.empty() && (message.back() == '\n' || message.back() == '\r')) message.pop_back();
    return message;
}

}  // namespace OrvoSupport::platform
