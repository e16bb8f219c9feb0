#include "OrvoStringUtilities.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <limits>
#include <memory>
#include <new>
#include <typeinfo>

#include "OrvoException.h"
#include "platform/CodePage.h"
#include "platform/ComString.h"

namespace OrvoSupport {
namespace {

struct Free {
    void operator()(void* block) const { std::free(block); }
};
template <class Char>
using Buffer = std::unique_ptr<Char[], Free>;

// Room for what any text of that size becomes, and NULs behind it. Memory fresh from the system is zero
// already, so that the part no text reaches costs nothing.
template <class Char>
Buffer<Char> makeBuffer(std::size_t textSize) {
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max() / (4 * sizeof(Char)) - 4;
    void* block = textSize > most ? nullptr : std::calloc(4 * textSize + 4, sizeof(Char));
    if (!block) throw std::bad_alloc();
    return Buffer<Char>(static_cast<Char*>(block));
}

const std::ctype<wchar_t>& facetOf(const std::locale& locale) {
    return std::use_facet<std::ctype<wchar_t>>(locale);
}

template <class To, class From, class Convert>
std::basic_string<To> convertWithFacet(const std::basic_string<From>& text, Convert convert) {
    const Buffer<To> buffer = makeBuffer<To>(text.size());
    convert(text.data(), text.data() + text.size(), buffer.get());
    return std::basic_string<To>(buffer.get());
}

// A facet of the library itself, and of no class derived from it: it is known what that writes and how much,
// so it needs no zeroed room.
bool isUtf8Facet(const std::ctype<wchar_t>& facet) { return typeid(facet) == typeid(utf8_ctype); }

constexpr std::size_t pieceSize = 1024;

// Where a piece of a text may end without cutting a character: a sequence has at most four bytes.
std::size_t pieceEnd(const char* text, std::size_t limit) {
    const auto isContinuation = [text](std::size_t i) { return (text[i] & 0xC0) == 0x80; };
    for (std::size_t end = limit; end > limit - 4; --end)
        if (!isContinuation(end)) return end;
    return limit;
}

std::size_t pieceEnd(const wchar_t* text, std::size_t limit) {
    const bool isFirstOfPair = text[limit - 1] >= 0xD800 && text[limit - 1] <= 0xDBFF;
    return isFirstOfPair ? limit - 1 : limit;
}

std::size_t convertUtf8(const char* text, std::size_t length, wchar_t* dest) {
    return platform::toWide(platform::CodePage::utf8, text, length, dest);
}

std::size_t convertUtf8(const wchar_t* text, std::size_t length, char* dest) {
    return platform::toNarrow(platform::CodePage::utf8, text, length, dest);
}

// Piece by piece through a small buffer, which stays in the processor's cache, up to the first NUL.
template <class To, class From>
std::basic_string<To> convertUtf8(const std::basic_string<From>& text) {
    std::basic_string<To> result;
    if (text.size() > pieceSize) result.reserve(text.size());
    const From* position = text.data();
    std::size_t left = text.size();
    while (left > 0) {
        const std::size_t length = left > pieceSize ? pieceEnd(position, pieceSize) : left;
        To piece[4 * pieceSize];
        const std::size_t size = convertUtf8(position, length, piece);
        const To* const nul = std::char_traits<To>::find(piece, size, To());
        result.append(piece, nul ? static_cast<std::size_t>(nul - piece) : size);
        if (nul) break;
        position += length;
        left -= length;
    }
    return result;
}

// Widened without a locale: it may be the default locale that has just failed.
OrvoException failure(const char* what, const string& reason) {
    const string text = what + reason;
    wstring wide(4 * text.size(), L'\0');
    wide.resize(platform::toWide(platform::CodePage::ansi, text.data(), text.size(), wide.data()));
    return OrvoException(wide);
}

}  // namespace

wstring OrvoStringUtilities::widen(const string& text, std::locale locale) {
    try {
        const std::ctype<wchar_t>& facet = facetOf(locale);
        if (isUtf8Facet(facet)) return convertUtf8<wchar_t>(text);
        return convertWithFacet<wchar_t>(text, [&facet](const char* first, const char* last, wchar_t* dest) {
            facet.widen(first, last, dest);
        });
    } catch (const std::exception& exception) {
        throw failure("OrvoStringUtilities::widen: ctype facet cannot be created for the locale -",
                      exception.what());
    }
}

string OrvoStringUtilities::narrow(const wstring& text, std::locale locale) {
    try {
        const std::ctype<wchar_t>& facet = facetOf(locale);
        if (isUtf8Facet(facet)) return convertUtf8<char>(text);
        return convertWithFacet<char>(text, [&facet](const wchar_t* first, const wchar_t* last, char* dest) {
            facet.narrow(first, last, ' ', dest);
        });
    } catch (const std::exception& exception) {
        throw failure("OrvoStringUtilities::narrow: ctype facet cannot be created for the locale -",
                      exception.what());
    }
}

wchar_t* OrvoStringUtilities::makeBSTR(const wstring& text) {
    wchar_t* bstr = platform::allocateComString(text.c_str(), std::wcslen(text.c_str()));
    if (!bstr)
        throw failure("OrvoStringUtilities::makeBSTR: com_error exception converting BSTR -",
                      platform::comStringErrorText());
    return bstr;
}

wstring OrvoStringUtilities::widen(wchar_t* const& bstr) {
    const std::size_t bytes = platform::comStringBytes(bstr);
    try {
        // COM strings may hold bytes of any number; what is left over is the start of one more character.
        wstring text((bytes + sizeof(wchar_t) - 1) / sizeof(wchar_t), L'\0');
        if (bytes > 0) std::memcpy(text.data(), bstr, bytes);
        text.resize(std::wcslen(text.c_str()));
        return text;
    } catch (const std::exception&) {
        throw failure("OrvoStringUtilities::widen: com_error exception converting BSTR -",
                      platform::comStringErrorText());
    }
}

void OrvoStringUtilities::freeBSTR(wchar_t* bstr) { platform::freeComString(bstr); }

}  // namespace OrvoSupport
