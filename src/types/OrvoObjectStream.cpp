#include "OrvoObjectStream.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "types/Utf16.h"

namespace OrvoSupport {
namespace {

constexpr unsigned int narrowLimit = 4;
constexpr unsigned int unitsAtOnce = 512;

/// The length in front of a text; none where the stream ends before it.
std::optional<unsigned int> readLength(OrvoInputObjectStream& stream) {
    std::int16_t length = 0;
    if (stream.read(&length, sizeof length, 1) != sizeof length) return std::nullopt;
    return static_cast<unsigned int>(std::max<std::int16_t>(length, 0));
}

struct Free {
    void operator()(char* block) const { std::free(block); }
};

}  // namespace

OrvoObjectStream::~OrvoObjectStream() = default;
OrvoOutputObjectStream::~OrvoOutputObjectStream() = default;
OrvoInputObjectStream::~OrvoInputObjectStream() = default;

using Output = OrvoOutputObjectStream;
using Input = OrvoInputObjectStream;

Output& Output::operator<<(const char* text) {
    unsigned int length = 0;
    while (text && length < narrowLimit && text[length] != '\0') ++length;
    *this << length;
    if (length > 0) write(text, 1, length);
    return *this;
}

Output& Output::operator<<(const string& text) { return *this << text.c_str(); }

Output& Output::operator<<(const wstring& text) {
    const std::u16string units = toUtf16(text);
    if (units.size() > std::numeric_limits<unsigned int>::max() / sizeof(char16_t)) return *this;
    const auto length = static_cast<unsigned int>(units.size());
    *this << length;
    if (length > 0) write(units.data(), sizeof(char16_t), length);
    return *this;
}

Input& Input::operator>>(char*& text) {
    const unsigned int length = readLength(*this).value_or(0);
    if (length == 0) return *this;
    const std::size_t size = std::size_t{length} + 1;
    std::unique_ptr<char, Free> block(static_cast<char*>(std::calloc(size, 1)));
    if (!block) throw std::bad_alloc();
    read(block.get(), 1, length);
    text = block.release();
    return *this;
}

Input& Input::operator>>(string& text) {
    const std::optional<unsigned int> length = readLength(*this);
    if (!length) return *this;
    string characters(*length, '\0');
    if (*length > 0) read(characters.data(), 1, *length);
    text = characters.c_str();
    return *this;
}

Input& Input::operator>>(wstring& text) {
    const std::optional<unsigned int> length = readLength(*this);
    if (!length) return *this;
    wstring characters;
    char16_t piece[unitsAtOnce];  // the length alone must not make it allocate
    for (unsigned int left = *length; left > 0;) {
        const unsigned int wanted = std::min(left, unitsAtOnce);
        const unsigned int given = read(piece, sizeof(char16_t), wanted) / sizeof(char16_t);
        for (unsigned int i = 0; i < std::min(given, wanted); ++i) appendUtf16(characters, piece[i]);
        if (given < wanted) break;
        left -= wanted;
    }
    characters.resize(std::min(characters.find(L'\0'), characters.size()));
    text = std::move(characters);
    return *this;
}

}  // namespace OrvoSupport
