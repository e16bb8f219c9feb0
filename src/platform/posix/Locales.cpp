// Linux half of Locales: the C library's locale objects.
#include "platform/Locales.h"

#include <locale.h>
#include <stdlib.h>
#include <wchar.h>
#include <wctype.h>

namespace OrvoSupport::platform {
namespace {

/// Makes a locale the calling thread's own for a while, for the functions that know no other way.
class ThreadLocale {
public:
    explicit ThreadLocale(locale_t locale) : m_previous(::uselocale(locale)) {}
    ~ThreadLocale() { ::uselocale(m_previous); }
    ThreadLocale(const ThreadLocale&) = delete;
    ThreadLocale& operator=(const ThreadLocale&) = delete;

private:
    locale_t m_previous;
};

/// Text of the thread's locale; what is no text there is left out.
std::wstring wide(const char* text) {
    const std::size_t length = ::mbstowcs(nullptr, text, 0);
    if (length == static_cast<std::size_t>(-1)) return {};
    std::wstring result(length, L'\0');
    ::mbstowcs(result.data(), text, length);
    return result;
}

MoneyLayout layout(char precedes, char space, char sign) { return {precedes != 0, space, sign}; }

class CLibraryLocale : public LocaleData {
public:
    explicit CLibraryLocale(locale_t locale) : m_locale(locale) {}
    ~CLibraryLocale() override { ::freelocale(m_locale); }

    std::wstring formatTime(const std::tm& fields, char conversion, char modifier) const override {
        std::wstring pattern = L"%";
        if (modifier) pattern += static_cast<wchar_t>(modifier);
        pattern += static_cast<wchar_t>(conversion);
        wchar_t text[256];
        return std::wstring(text, ::wcsftime_l(text, 256, pattern.c_str(), &fields, m_locale));
    }

    NumberFormat numberFormat() const override {
        const ThreadLocale use(m_locale);
        const lconv& c = *::localeconv();
        return {wide(c.decimal_point), wide(c.thousands_sep), c.grouping};
    }

    MoneyFormat moneyFormat() const override {
        const ThreadLocale use(m_locale);
        const lconv& c = *::localeconv();
        MoneyFormat money;
        money.number = {wide(c.mon_decimal_point), wide(c.mon_thousands_sep), c.mon_grouping};
        money.symbol = wide(c.currency_symbol);
        money.internationalSymbol = wide(c.int_curr_symbol);
        money.positiveSign = wide(c.positive_sign);
        money.negativeSign = wide(c.negative_sign);
        money.fractionDigits = c.frac_digits;
        money.internationalFractionDigits = c.int_frac_digits;
        money.positive = layout(c.p_cs_precedes, c.p_sep_by_space, c.p_sign_posn);
        money.negative = layout(c.n_cs_precedes, c.n_sep_by_space, c.n_sign_posn);
        return money;
    }

    std::wstring sortKey(const std::wstring& text) const override {
        std::wstring key(::wcsxfrm_l(nullptr, text.c_str(), 0, m_locale), L'\0');
        ::wcsxfrm_l(key.data(), text.c_str(), key.size() + 1, m_locale);
        return key;
    }

    unsigned int classesOf(wchar_t character) const override {
        struct Test {
            CharacterClass bit;
            int (*holds)(wint_t, locale_t);
        };
        static constexpr Test tests[] = {{upperCase, ::iswupper_l},   {lowerCase, ::iswlower_l},
                                         {letter, ::iswalpha_l},      {digit, ::iswdigit_l},
                                         {hexDigit, ::iswxdigit_l},   {space, ::iswspace_l},
                                         {blank, ::iswblank_l},       {control, ::iswcntrl_l},
                                         {punctuation, ::iswpunct_l}, {printable, ::iswprint_l}};
        unsigned int classes = 0;
        for (const Test& test : tests)
            if (test.holds(static_cast<wint_t>(character), m_locale)) classes |= test.bit;
        return classes;
    }

    wchar_t toUpper(wchar_t character) const override {
        return static_cast<wchar_t>(::towupper_l(static_cast<wint_t>(character), m_locale));
    }

    wchar_t toLower(wchar_t character) const override {
        return static_cast<wchar_t>(::towlower_l(static_cast<wint_t>(character), m_locale));
    }

private:
    locale_t m_locale;
};

}  // namespace

std::vector<std::string> localeNames(const LocaleId& id) {
    std::vector<std::string> names;
    const std::string base = std::string(id.language) + "_" + id.country;
    for (const char* codeSet :
         {".UTF-8", ".utf8", "", ".ISO-8859-1", ".ISO-8859-15", ".eucJP", ".GB18030", ".GBK", ".GB2312"})
        names.push_back(base + codeSet);
    return names;
}

std::unique_ptr<const LocaleData> LocaleData::open(const LocaleId& id) {
    for (const std::string& name : localeNames(id))
        if (locale_t locale = ::newlocale(LC_ALL_MASK, name.c_str(), nullptr))
            return std::make_unique<CLibraryLocale>(locale);
    return nullptr;
}

}  // namespace OrvoSupport::platform
