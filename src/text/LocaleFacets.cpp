#include "text/LocaleFacets.h"

#include <algorithm>
#include <string_view>

#include "platform/CodePage.h"
#include "text/LocaleCharacters.h"

namespace OrvoSupport {
namespace {

using Data = std::shared_ptr<const platform::LocaleData>;

template <class Char>
std::basic_string<Char> as(const std::wstring& text);

template <>
std::wstring as<wchar_t>(const std::wstring& text) {
    return text;
}

template <>
std::string as<char>(const std::wstring& text) {
    std::string narrow(4 * text.size(), '\0');
    narrow.resize(platform::toNarrow(platform::CodePage::ansi, text.data(), text.size(), narrow.data()));
    return narrow;
}

std::wstring widened(const char* first, const char* last) {
    const auto length = static_cast<std::size_t>(last - first);
    std::wstring wide(4 * length, L'\0');
    wide.resize(platform::toWide(platform::CodePage::ansi, first, length, wide.data()));
    return wide;
}

std::wstring widened(const wchar_t* first, const wchar_t* last) { return std::wstring(first, last); }

/// Facets know one character where some languages use several.
template <class Char>
Char oneCharacter(const std::wstring& text, char otherwise) {
    const std::basic_string<Char> converted = as<Char>(text);
    return converted.size() == 1 ? converted.front() : static_cast<Char>(otherwise);
}

template <class Char>
class TimeFacet : public std::time_put<Char> {
public:
    explicit TimeFacet(Data data) : m_data(std::move(data)) {}

protected:
    using typename std::time_put<Char>::iter_type;

    iter_type do_put(iter_type out, std::ios_base&, Char, const std::tm* fields, char conversion,
                     char modifier) const override {
        const auto text = as<Char>(m_data->formatTime(*fields, conversion, modifier));
        return std::copy(text.begin(), text.end(), out);
    }

private:
    Data m_data;
};

template <class Char>
class NumberFacet : public std::numpunct<Char> {
public:
    explicit NumberFacet(platform::NumberFormat format) : m_format(std::move(format)) {}

protected:
    Char do_decimal_point() const override { return oneCharacter<Char>(m_format.decimalPoint, '.'); }
    Char do_thousands_sep() const override { return oneCharacter<Char>(m_format.thousandsSeparator, ' '); }
    std::string do_grouping() const override {
        return m_format.thousandsSeparator.empty() ? std::string() : m_format.grouping;
    }

private:
    platform::NumberFormat m_format;
};

/// The order of symbol, sign and value. A blank or nothing stands between symbol and value, as the standard
/// asks for four parts with neither in front.
std::money_base::pattern patternOf(const platform::MoneyLayout& layout) {
    using Base = std::money_base;
    const bool precedes = layout.symbolPrecedes != 0;
    std::string parts{static_cast<char>(precedes ? Base::symbol : Base::value),
                      static_cast<char>(layout.separatedBySpace ? Base::space : Base::none),
                      static_cast<char>(precedes ? Base::value : Base::symbol)};
    const std::size_t symbol = precedes ? 0 : 2;
    std::size_t sign = 0;  // in front of everything, or around it
    if (layout.signPosition == 2) sign = parts.size();
    if (layout.signPosition == 3) sign = symbol;
    if (layout.signPosition == 4) sign = symbol + 1;
    parts.insert(sign, 1, static_cast<char>(Base::sign));
    Base::pattern pattern;
    std::copy(parts.begin(), parts.end(), pattern.field);
    return pattern;
}

template <class Char, bool International>
class MoneyFacet : public std::moneypunct<Char, International> {
public:
    explicit MoneyFacet(platform::MoneyFormat format) : m_format(std::move(format)) {}

protected:
    using Text = std::basic_string<Char>;

    Char do_decimal_point() const override { return oneCharacter<Char>(m_format.number.decimalPoint, '.'); }
    Char do_thousands_sep() const override {
        return oneCharacter<Char>(m_format.number.thousandsSeparator, ' ');
    }
    std::string do_grouping() const override { return m_format.number.grouping; }
    Text do_curr_symbol() const override {
        return as<Char>(International ? m_format.internationalSymbol : m_format.symbol);
    }
    Text do_positive_sign() const override { return as<Char>(m_format.positiveSign); }
    Text do_negative_sign() const override {
        return as<Char>(m_format.negative.signPosition == 0 ? L"()" : m_format.negativeSign);
    }
    int do_frac_digits() const override {
        return International ? m_format.internationalFractionDigits : m_format.fractionDigits;
    }
    std::money_base::pattern do_pos_format() const override { return patternOf(m_format.positive); }
    std::money_base::pattern do_neg_format() const override { return patternOf(m_format.negative); }

private:
    platform::MoneyFormat m_format;
};

template <class Char>
class CollationFacet : public std::collate<Char> {
public:
    explicit CollationFacet(Data data) : m_data(std::move(data)) {}

protected:
    using Text = std::basic_string<Char>;

    int do_compare(const Char* first1, const Char* last1, const Char* first2,
                   const Char* last2) const override {
        return key(first1, last1).compare(key(first2, last2));
    }
    Text do_transform(const Char* first, const Char* last) const override {
        // A sort key of a wide text may hold any value; a narrow one takes it byte by byte, highest first.
        Text result;
        for (const wchar_t unit : key(first, last))
            for (std::size_t shift = sizeof(wchar_t) - sizeof(Char) + 1; shift-- > 0;)
                result += static_cast<Char>(static_cast<unsigned long>(unit) >> (8 * shift));
        return result;
    }
    long do_hash(const Char* first, const Char* last) const override {
        return static_cast<long>(std::hash<std::wstring>()(key(first, last)));
    }

private:
    std::wstring key(const Char* first, const Char* last) const {
        return m_data->sortKey(widened(first, last));
    }

    Data m_data;
};

template <class Char>
std::locale withFacets(const std::locale& base, const Data& data) {
    std::locale result(base, new TimeFacet<Char>(data));
    result = std::locale(result, new NumberFacet<Char>(data->numberFormat()));
    result = std::locale(result, new MoneyFacet<Char, false>(data->moneyFormat()));
    result = std::locale(result, new MoneyFacet<Char, true>(data->moneyFormat()));
    return std::locale(result, new CollationFacet<Char>(data));
}

}  // namespace

std::locale::id LocaleNameFacet::id;

std::locale localeOver(Data data, const std::string& name) {
    const std::locale characters = withCharacters(std::locale::classic(), data);
    const std::locale full = withFacets<wchar_t>(withFacets<char>(characters, data), data);
    return std::locale(full, new LocaleNameFacet(name));
}

}  // namespace OrvoSupport
