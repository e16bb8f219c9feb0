// File name patterns where the system has none of its own.
#ifndef OSUPT_OS_WILDCARD_H
#define OSUPT_OS_WILDCARD_H

#include <string>

namespace OrvoSupport {

/// A pattern for one file name, compared byte by byte: "*" is any run of bytes, "?" is one byte. A ".*" at
/// the end also matches where the name ends before the dot. No pattern takes longer than its length times the
/// name's.
///
/// Thread safety: constant, thus safe.
class Wildcard {
public:
    explicit Wildcard(const std::string& pattern);

    /// Whether the pattern stands for the one name it spells.
    bool isPlainName() const { return m_isPlainName; }
    bool matches(const char* name) const;

private:
    std::string m_pattern;
    std::string m_stem;  // without the ".*" at its end; empty if there is none
    bool m_isPlainName;
    bool m_matchesAll;
};

}  // namespace OrvoSupport

#endif
