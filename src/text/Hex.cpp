#include <array>

#include "OrvoTokenizer.h"

namespace OrvoSupport {
namespace {

constexpr char digits[] = "0123456789ABCDEF";

// The value of a digit; only 0-9, A-F and a-f have one that means something.
constexpr int digitValue(signed char c) {
    const int upper = c >= 'a' ? c - 32 : c;
    return upper < 'A' ? upper - '0' : upper - 55;
}

constexpr std::array<unsigned char, 256> makeHalves(bool high) {
    std::array<unsigned char, 256> halves{};
    for (int i = 0; i < 256; ++i) {
        const int value = digitValue(static_cast<signed char>(i));
        halves[static_cast<std::size_t>(i)] =
            static_cast<unsigned char>(high ? (value & 0x0F) << 4 : value & 0xFF);
    }
    return halves;
}

constexpr std::array<unsigned char, 256> highHalf = makeHalves(true);
constexpr std::array<unsigned char, 256> lowHalf = makeHalves(false);

}  // namespace

string OrvoBytesToHex(const char* bytes, int count) {
    if (count <= 0) return string();
    const std::size_t size = static_cast<std::size_t>(count);
    string hex(2 * size, '0');
    char* out = hex.data();
    for (std::size_t i = 0; i < size; ++i) {
        const unsigned byte = static_cast<unsigned char>(bytes[i]);
        *out++ = digits[byte >> 4];
        *out++ = digits[byte & 0x0F];
    }
    return hex;
}

int OrvoHexToBytes(char* const dest, const string& hex) {
    const std::size_t count = hex.size() / 2;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t high = static_cast<unsigned char>(hex[2 * i]);
        const std::size_t low = static_cast<unsigned char>(hex[2 * i + 1]);
        dest[i] = static_cast<char>(highHalf[high] | lowHalf[low]);
    }
    return static_cast<int>(count);
}

}  // namespace OrvoSupport
