// Win32 half of Locales: times as the C run-time library of the system writes them, the rest from the
// system's locale functions.
#include "platform/Locales.h"

#include <locale.h>
#include <string.h>
#include <time.h>
#include <windows.h>

namespace OrvoSupport::platform {
namespace {

class WindowsLocale : public LocaleData {
public:
    WindowsLocale(_locale_t times, std::wstring tag) : m_times(times), m_tag(std::move(tag)) {}
    ~WindowsLocale() override { ::_free_locale(m_times); }

    std::wstring formatTime(const std::tm& fields, char conversion, char modifier) const override;
    NumberFormat numberFormat() const override {
        return {text(LOCALE_SDECIMAL), text(LOCALE_STHOUSAND), grouping(LOCALE_SGROUPING)};
    }
    MoneyFormat moneyFormat() const override;
    std::wstring sortKey(const std::wstring& text) const override;
    unsigned int classesOf(wchar_t character) const override;
    wchar_t toUpper(wchar_t character) const override { return mapped(character, LCMAP_UPPERCASE); }
    wchar_t toLower(wchar_t character) const override { return mapped(character, LCMAP_LOWERCASE); }

private:
    wchar_t mapped(wchar_t character, DWORD how) const;
    std::wstring text(LCTYPE type) const;
    int number(LCTYPE type) const;
    std::string grouping(LCTYPE type) const;

    _locale_t m_times;
    std::wstring m_tag;
};

// A conversion that this run-time library does not know would end the process, so only the ones it does know
// are handed on; the others of the standard are put together from these.
std::wstring WindowsLocale::formatTime(const std::tm& fields, char conversion, char /*modifier*/) const {
    struct Replacement {
        char conversion;
        const wchar_t* pattern;
    };
    static constexpr Replacement replacements[] = {{'D', L"%m/%d/%y"}, {'F', L"%Y-%m-%d"},   {'R', L"%H:%M"},
                                                   {'T', L"%H:%M:%S"}, {'h', L"%b"},         {'n', L"\n"},
                                                   {'t', L"\t"},       {'r', L"%I:%M:%S %p"}};
    std::wstring pattern;
    for (const Replacement& replacement : replacements)
        if (replacement.conversion == conversion) pattern = replacement.pattern;
    if (pattern.empty() && conversion && ::strchr("aAbBcdHIjmMpSUwWxXyYzZ%", conversion))
        pattern = {L'%', static_cast<wchar_t>(conversion)};
    wchar_t result[256];
    return std::wstring(result, ::_wcsftime_l(result, 256, pattern.c_str(), &fields, m_times));
}

MoneyFormat WindowsLocale::moneyFormat() const {
    MoneyFormat money;
    money.number = {text(LOCALE_SMONDECIMALSEP), text(LOCALE_SMONTHOUSANDSEP), grouping(LOCALE_SMONGROUPING)};
    money.symbol = text(LOCALE_SCURRENCY);
    money.internationalSymbol = text(LOCALE_SINTLSYMBOL) + L" ";
    money.positiveSign = text(LOCALE_SPOSITIVESIGN);
    money.negativeSign = text(LOCALE_SNEGATIVESIGN);
    money.fractionDigits = number(LOCALE_ICURRDIGITS);
    money.internationalFractionDigits = number(LOCALE_IINTLCURRDIGITS);
    money.positive = {number(LOCALE_IPOSSYMPRECEDES), number(LOCALE_IPOSSEPBYSPACE),
                      number(LOCALE_IPOSSIGNPOSN)};
    money.negative = {number(LOCALE_INEGSYMPRECEDES), number(LOCALE_INEGSEPBYSPACE),
                      number(LOCALE_INEGSIGNPOSN)};
    return money;
}

std::wstring WindowsLocale::sortKey(const std::wstring& text) const {
    const auto map = [&](wchar_t* key, int size) {
        return ::LCMapStringEx(m_tag.c_str(), LCMAP_SORTKEY, text.c_str(), static_cast<int>(text.size()), key,
                               size, nullptr, nullptr, 0);
    };
    if (text.empty()) return {};
    const int bytes = map(nullptr, 0);
    std::string key(bytes > 0 ? static_cast<std::size_t>(bytes) : 0, '\0');
    map(reinterpret_cast<wchar_t*>(key.data()), bytes);  // the function's way to return bytes
    std::wstring result;
    for (const char byte : key) result += static_cast<unsigned char>(byte);
    return result;
}

unsigned int WindowsLocale::classesOf(wchar_t character) const {
    WORD type = 0;
    if (!::GetStringTypeW(CT_CTYPE1, &character, 1, &type)) return 0;
    struct Class {
        WORD type;
        CharacterClass bit;
    };
    static constexpr Class all[] = {{C1_UPPER, upperCase}, {C1_LOWER, lowerCase}, {C1_ALPHA, letter},
                                    {C1_DIGIT, digit},     {C1_XDIGIT, hexDigit}, {C1_SPACE, space},
                                    {C1_BLANK, blank},     {C1_CNTRL, control},   {C1_PUNCT, punctuation}};
    unsigned int classes = 0;
    for (const Class& one : all)
        if (type & one.type) classes |= one.bit;
    // There is no bit for it; some currency signs have none but that they are defined.
    return (type & C1_DEFINED) && !(type & C1_CNTRL) ? classes | printable : classes;
}

wchar_t WindowsLocale::mapped(wchar_t character, DWORD how) const {
    wchar_t result = character;
    ::LCMapStringEx(m_tag.c_str(), how, &character, 1, &result, 1, nullptr, nullptr, 0);
    return result;
}

std::wstring WindowsLocale::text(LCTYPE type) const {
    wchar_t buffer[85];  // the longest text of these types has 80
    const int length = ::GetLocaleInfoEx(m_tag.c_str(), type | LOCALE_NOUSEROVERRIDE, buffer, 85);
    return length > 0 ? std::wstring(buffer, static_cast<std::size_t>(length) - 1) : std::wstring();
}

int WindowsLocale::number(LCTYPE type) const {
    const std::wstring digits = text(type);
    return digits.empty() ? 0 : static_cast<int>(::wcstol(digits.c_str(), nullptr, 10));
}

/// "3;2;0" is groups of 3, 2, 2, ...; without the 0 the last group takes the rest.
std::string WindowsLocale::grouping(LCTYPE type) const {
    std::string sizes;
    for (const wchar_t c : text(type))
        if (c >= L'0' && c <= L'9') sizes += static_cast<char>(c - L'0');
    if (!sizes.empty() && sizes.back() == '\0')
        sizes.pop_back();
    else if (!sizes.empty())
        sizes += '\x7f';
    return sizes;
}

}  // namespace

std::vector<std::string> localeNames(const LocaleId& id) { return {id.name}; }

std::unique_ptr<const LocaleData> LocaleData::open(const LocaleId& id) {
    const std::string tag = std::string(id.language) + "-" + id.country;
    std::wstring wideTag(tag.begin(), tag.end());
    if (!::IsValidLocaleName(wideTag.c_str())) return nullptr;
    _locale_t times = ::_create_locale(LC_ALL, id.name);
    if (!times) return nullptr;
    return std::make_unique<WindowsLocale>(times, std::move(wideTag));
}

}  // namespace OrvoSupport::platform
