// The system's own data about a language and country.
#ifndef OSUPT_PLATFORM_LOCALES_H
#define OSUPT_PLATFORM_LOCALES_H

#include <ctime>
#include <memory>
#include <string>
#include <vector>

namespace OrvoSupport::platform {

/// A locale as the library's tables have it.
struct LocaleId {
    const char* name;      ///< "german", as the Microsoft C run-time library calls it
    const char* language;  ///< "de"
    const char* country;   ///< "DE", of the place whose habits are meant
};

/// The names under which the C++ run-time library of this system may know the locale, best first.
std::vector<std::string> localeNames(const LocaleId& id);

/// How numbers or amounts of money are written. Groupings are as std::numpunct has them.
struct NumberFormat {
    std::wstring decimalPoint;
    std::wstring thousandsSeparator;
    std::string grouping;
};

/// Where symbol and sign of an amount stand, each as the member of lconv of that name says it.
struct MoneyLayout {
    int symbolPrecedes = 1;
    int separatedBySpace = 0;
    int signPosition = 1;
};

struct MoneyFormat {
    NumberFormat number;
    std::wstring symbol;
    std::wstring internationalSymbol;
    std::wstring positiveSign;
    std::wstring negativeSign;
    int fractionDigits = 0;
    int internationalFractionDigits = 0;
    MoneyLayout positive;
    MoneyLayout negative;
};

/// What a character is; several at once.
enum CharacterClass : unsigned int {
    upperCase = 1,
    lowerCase = 2,
    letter = 4,
    digit = 8,
    hexDigit = 16,
    space = 32,
    blank = 64,
    control = 128,
    punctuation = 256,
    printable = 512,
};

/// The data of one locale.
///
/// Thread safety: any method may be called from any thread.
class LocaleData {
public:
    /// Null when the system has no such locale.
    static std::unique_ptr<const LocaleData> open(const LocaleId& id);

    virtual ~LocaleData() = default;
    LocaleData(const LocaleData&) = delete;
    LocaleData& operator=(const LocaleData&) = delete;

    /// What strftime() makes of one conversion ('A' for "%A"), with the modifier 'E', 'O' or none (NUL).
    /// Empty for a conversion it does not know. Every field must be in its range, as for strftime().
    virtual std::wstring formatTime(const std::tm& fields, char conversion, char modifier) const = 0;
    virtual NumberFormat numberFormat() const = 0;
    virtual MoneyFormat moneyFormat() const = 0;
    /// Sorts as the text does when compared unit by unit.
    virtual std::wstring sortKey(const std::wstring& text) const = 0;
    /// The CharacterClass bits of a character; of one half of a surrogate pair, none.
    virtual unsigned int classesOf(wchar_t character) const = 0;
    /// The character itself when it has no such form.
    virtual wchar_t toUpper(wchar_t character) const = 0;
    virtual wchar_t toLower(wchar_t character) const = 0;

protected:
    LocaleData() = default;
};

}  // namespace OrvoSupport::platform

#endif
