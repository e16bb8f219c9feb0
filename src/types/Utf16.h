// Wide text as UTF-16 units, whatever a wchar_t holds.
#ifndef OSUPT_TYPES_UTF16_H
#define OSUPT_TYPES_UTF16_H

#include <cstdint>
#include <string>

#include "OrvoString.h"

namespace OrvoSupport {

/// The units of a text. A character outside Unicode becomes U+FFFD; half a pair that stands alone is kept.
inline std::u16string toUtf16(const wstring& text) {
    std::u16string units;
    units.reserve(text.size());
    for (const wchar_t character : text) {
        auto value = static_cast<std::uint32_t>(character);
        if (value > 0x10FFFF) value = 0xFFFD;
        if (value > 0xFFFF) {
            units += static_cast<char16_t>(0xD800 + ((value - 0x10000) >> 10));
            value = 0xDC00 + (value & 0x3FF);
        }
        units += static_cast<char16_t>(value);
    }
    return units;
}

/// Appends one unit; the second half of a pair joins the first where a wchar_t holds both.
inline void appendUtf16(wstring& text, char16_t unit) {
    if constexpr (sizeof(wchar_t) > sizeof(char16_t)) {
        const bool isSecondHalf = unit >= 0xDC00 && unit <= 0xDFFF;
        if (isSecondHalf && !text.empty() && text.back() >= 0xD800 && text.back() <= 0xDBFF) {
            const auto high = static_cast<std::uint32_t>(text.back()) - 0xD800;
            text.back() = static_cast<wchar_t>(0x10000 + (high << 10) + (unit - 0xDC00u));
            return;
        }
    }
    text += static_cast<wchar_t>(unit);
}

}  // namespace OrvoSupport

#endif
