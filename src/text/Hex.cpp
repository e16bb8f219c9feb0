#include "OrvoTokenizer.h"

namespace OrvoSupport {
namespace {

// Both directions are plain arithmetic on bytes, which compilers turn into code for sixteen bytes at once;
// tables would be slower.

char digitOf(unsigned char half) { return static_cast<char>(half + (half < 10 ? '0' : 'A' - 10)); }

// Only 0-9, A-F and a-f have a value that means something.
unsigned char valueOf(signed char digit) {
    const signed char upper = static_cast<signed char>(digit >= 'a' ? digit - 32 : digit);
    return static_cast<unsigned char>(upper >= 'A' ? upper - 55 : upper - '0');
}

}  // namespace

string OrvoBytesToHex(const char* bytes, int count) {
    if (count <= 0) return string();
    const std::size_t size = static_cast<std::size_t>(count);
    string hex(2 * size, '0');
    char* const out = hex.data();
    for (std::size_t i = 0; i < size; ++i) {
        const unsigned char byte = static_cast<unsigned char>(bytes[i]);
        out[2 * i] = digitOf(static_cast<unsigned char>(byte >> 4));
        out[2 * i + 1] = digitOf(byte & 0x0F);
    }
    return hex;
}

int OrvoHexToBytes(char* const dest, const string& hex) {
    const std::size_t count = hex.size() / 2;
    const char* const digits = hex.data();
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned char high = valueOf(static_cast<signed char>(digits[2 * i]));
        const unsigned char low = valueOf(static_cast<signed char>(digits[2 * i + 1]));
        dest[i] = static_cast<char>(high << 4 | low);
    }
    return static_cast<int>(count);
}

}  // namespace OrvoSupport
