// Dotted version numbers and lists of version ranges.
#ifndef ORVO_VERSION_H
#define ORVO_VERSION_H

#include <cstdint>
#include <utility>
#include <vector>

#include "OrvoExport.h"
#include "OrvoString.h"

namespace OrvoSupport {

/// A version such as 5.2.0.1 or 7.1.beta: any number of numeric components, and behind them perhaps one that
/// is a word. Versions order by their numbers first, where missing ones are zeros (1.2 equals 1.2.0), and by
/// their words, byte by byte, next; no word comes before any word, so 1.0 is less than 1.0.beta.
///
/// Thread safety: a value is used by one thread at a time; different values are independent.
class OSUPT_API OrvoVersion {
public:
    /// What compare(a, b) says of a. The numbers are part of the interface.
    enum tTestMode : int { Equal = 0, Less = 1, Greater = 2 };

    /// No version: neither numbers nor a word.
    OrvoVersion();
    /// The same; the argument is ignored.
    OrvoVersion(int* const);
    /// Reads "number.number...word", where numbers or word may be missing; an empty text gives no version.
    /// Dots in a row count as one, and those at either end do not count. What begins with a digit is a number
    /// and ends with its digits: 3a is 3. Numbers beyond 2147483647 become that. Throws OrvoException when a
    /// word is not the last component. The text ends at its first NUL.
    OrvoVersion(const string& text);
    OrvoVersion(const OrvoVersion& other);
    OrvoVersion& operator=(const OrvoVersion& other);
    /// Reads the text as the constructor does. When that throws, the numbers in front of the word that stands
    /// wrong are the value.
    OrvoVersion& operator=(const string& text);
    virtual ~OrvoVersion();

    /// Whether there is a number or a word.
    bool isInit() const;
    /// The numbers joined by dots, then the word with a dot in front, also when there is no number.
    string toString() const;

    /// Reads items with commas between them, each a version or a range like {1.0-2.0}, into pairs of lower
    /// and upper version. What a version alone has for its upper one is not initialised. A range needs
    /// something on both sides of its first minus; its last character is dropped, whatever it is. Throws
    /// OrvoException for a wrong range, or a version that the constructor refuses.
    static std::vector<std::pair<OrvoVersion, OrvoVersion>> createRangeVector(const string& spec);

private:
    static tTestMode compare(const OrvoVersion& a, const OrvoVersion& b);
    void parse(const string& text);

    std::vector<std::int32_t> m_components;
    string m_suffix;
};

}  // namespace OrvoSupport

#endif
