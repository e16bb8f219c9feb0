#include "text/LocaleCharacters.h"

#include <algorithm>
#include <cwchar>

#include "platform/CodePage.h"

namespace OrvoSupport {
namespace {

using Data = std::shared_ptr<const platform::LocaleData>;
using Mask = std::ctype_base::mask;

Mask maskOf(unsigned int classes) {
    struct Class {
        unsigned int bits;
        Mask mask;
    };
    // Some run-time libraries compose graph and alnum of the others, some give them bits of their own.
    using Base = std::ctype_base;
    constexpr Mask ownAlnum = Base::alnum & ~(Base::alpha | Base::digit);
    constexpr Mask ownGraph = Base::graph & ~(Base::alpha | Base::digit | Base::punct);
    static constexpr Class all[] = {
        {platform::upperCase, Base::upper},
        {platform::lowerCase, Base::lower},
        {platform::letter, Base::alpha},
        {platform::digit, Base::digit},
        {platform::hexDigit, Base::xdigit},
        {platform::space, Base::space},
        {platform::blank, Base::blank},
        {platform::control, Base::cntrl},
        {platform::punctuation, Base::punct},
        {platform::printable, Base::print},
        {platform::letter | platform::digit, ownAlnum},
        {platform::letter | platform::digit | platform::punctuation, ownGraph},
    };
    Mask mask{};
    for (const Class& one : all)
        if (classes & one.bits) mask = static_cast<Mask>(mask | one.mask);
    return mask;
}

wchar_t widened(char c) {
    wchar_t wide[4];
    return platform::toWide(platform::CodePage::ansi, &c, 1, wide) == 1 ? wide[0]
                                                                        : static_cast<wchar_t>(WEOF);
}

/// Only what comes back unchanged: the system's conversion also gives look-alikes.
char narrowed(wchar_t c, char otherwise) {
    char narrow[4];
    const bool single = platform::toNarrow(platform::CodePage::ansi, &c, 1, narrow) == 1;
    return single && widened(narrow[0]) == c ? narrow[0] : otherwise;
}

class WideCharacters : public std::ctype<wchar_t> {
public:
    explicit WideCharacters(Data data) : m_data(std::move(data)) {}

protected:
    bool do_is(mask wanted, wchar_t c) const override { return (maskOf(m_data->classesOf(c)) & wanted) != 0; }
    const wchar_t* do_is(const wchar_t* first, const wchar_t* last, mask* masks) const override {
        std::transform(first, last, masks, [this](wchar_t c) { return maskOf(m_data->classesOf(c)); });
        return last;
    }
    const wchar_t* do_scan_is(mask wanted, const wchar_t* first, const wchar_t* last) const override {
        return std::find_if(first, last, [&](wchar_t c) { return do_is(wanted, c); });
    }
    const wchar_t* do_scan_not(mask wanted, const wchar_t* first, const wchar_t* last) const override {
        return std::find_if_not(first, last, [&](wchar_t c) { return do_is(wanted, c); });
    }

    wchar_t do_toupper(wchar_t c) const override { return m_data->toUpper(c); }
    const wchar_t* do_toupper(wchar_t* first, const wchar_t* last) const override {
        for (; first != last; ++first) *first = m_data->toUpper(*first);
        return last;
    }
    wchar_t do_tolower(wchar_t c) const override { return m_data->toLower(c); }
    const wchar_t* do_tolower(wchar_t* first, const wchar_t* last) const override {
        for (; first != last; ++first) *first = m_data->toLower(*first);
        return last;
    }

    wchar_t do_widen(char c) const override { return widened(c); }
    const char* do_widen(const char* first, const char* last, wchar_t* dest) const override {
        std::transform(first, last, dest, widened);
        return last;
    }
    char do_narrow(wchar_t c, char otherwise) const override { return narrowed(c, otherwise); }
    const wchar_t* do_narrow(const wchar_t* first, const wchar_t* last, char otherwise,
                             char* dest) const override {
        std::transform(first, last, dest, [otherwise](wchar_t c) { return narrowed(c, otherwise); });
        return last;
    }

private:
    Data m_data;
};

class NarrowCharacters : public std::ctype<char> {
public:
    explicit NarrowCharacters(Data data) : std::ctype<char>(masks(*data), true), m_data(std::move(data)) {}

protected:
    char do_toupper(char c) const override { return narrowed(m_data->toUpper(widened(c)), c); }
    const char* do_toupper(char* first, const char* last) const override {
        for (; first != last; ++first) *first = do_toupper(*first);
        return last;
    }
    char do_tolower(char c) const override { return narrowed(m_data->toLower(widened(c)), c); }
    const char* do_tolower(char* first, const char* last) const override {
        for (; first != last; ++first) *first = do_tolower(*first);
        return last;
    }

private:
    /// The base deletes the array.
    static const mask* masks(const platform::LocaleData& data) {
        auto* const table = new mask[table_size];
        for (std::size_t byte = 0; byte < table_size; ++byte)
            table[byte] = maskOf(data.classesOf(widened(static_cast<char>(byte))));
        return table;
    }

    Data m_data;
};

}  // namespace

std::locale withCharacters(const std::locale& base, Data data) {
    const std::locale narrow(base, new NarrowCharacters(data));
    return std::locale(narrow, new WideCharacters(std::move(data)));
}

}  // namespace OrvoSupport
