#include "OrvoStringUtilities.h"

#include <cstdlib>
#include <cwchar>
#include <limits>
#include <memory>
#include <new>

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
        const Buffer<wchar_t> buffer = makeBuffer<wchar_t>(text.size());
        facet.widen(text.data(), text.data() + text.size(), buffer.get());
        return wstring(buffer.get());
    } catch (const std::exception& exception) {
        throw failure("OrvoStringUtilities::widen: ctype facet cannot be created for the locale -",
                      exception.what());
    }
}

string OrvoStringUtilities::narrow(const wstring& text, std::locale locale) {
    try {
        const std::ctype<wchar_t>& facet = facetOf(locale);
        const Buffer<char> buffer = makeBuffer<char>(text.size());
        facet.narrow(text.data(), text.data() + text.size(), ' ', buffer.get());
        return string(buffer.get());
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
    const std::size_t length = platform::comStringLength(bstr);
    if (length == 0) return wstring();
    const wchar_t* end = std::wmemchr(bstr, L'\0', length);
    try {
        return wstring(bstr, end ? static_cast<std::size_t>(end - bstr) : length);
    } catch (const std::exception&) {
        throw failure("OrvoStringUtilities::widen: com_error exception converting BSTR -",
                      platform::comStringErrorText());
    }
}

void OrvoStringUtilities::freeBSTR(wchar_t* bstr) { platform::freeComString(bstr); }

}  // namespace OrvoSupport
