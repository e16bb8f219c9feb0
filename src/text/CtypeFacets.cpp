#include "OrvoStringUtilities.h"
#include "platform/CodePage.h"

namespace OrvoSupport {
namespace {

using platform::CodePage;

// Both return the start of the range, which callers of these facets have always got.
const char* widenRange(CodePage codePage, const char* first, const char* last, wchar_t* dest) {
    platform::toWide(codePage, first, static_cast<std::size_t>(last - first), dest);
    return first;
}

const wchar_t* narrowRange(CodePage codePage, const wchar_t* first, const wchar_t* last, char* dest) {
    platform::toNarrow(codePage, first, static_cast<std::size_t>(last - first), dest);
    return first;
}

}  // namespace

ansi_ctype::ansi_ctype(std::size_t references) : std::ctype<wchar_t>(references) {}

ansi_ctype::~ansi_ctype() = default;

wchar_t ansi_ctype::do_widen(char, wchar_t wide) const { return wide; }

const char* ansi_ctype::do_widen(const char* first, const char* last, wchar_t* dest) const {
    return widenRange(CodePage::ansi, first, last, dest);
}

char ansi_ctype::do_narrow(wchar_t, char defaultCharacter) const { return defaultCharacter; }

const wchar_t* ansi_ctype::do_narrow(const wchar_t* first, const wchar_t* last, char, char* dest) const {
    return narrowRange(CodePage::ansi, first, last, dest);
}

utf8_ctype::utf8_ctype(std::size_t references) : std::ctype<wchar_t>(references) {}

utf8_ctype::~utf8_ctype() = default;

wchar_t utf8_ctype::do_widen(char, wchar_t wide) const { return wide; }

const char* utf8_ctype::do_widen(const char* first, const char* last, wchar_t* dest) const {
    return widenRange(CodePage::utf8, first, last, dest);
}

char utf8_ctype::do_narrow(wchar_t, char defaultCharacter) const { return defaultCharacter; }

const wchar_t* utf8_ctype::do_narrow(const wchar_t* first, const wchar_t* last, char, char* dest) const {
    return narrowRange(CodePage::utf8, first, last, dest);
}

}  // namespace OrvoSupport
