#include "os/Wildcard.h"

namespace OrvoSupport {
namespace {

/// Only the last "*" is ever widened: whatever an earlier one could give up, the last one can take.
bool matchesPattern(const char* pattern, const char* name) {
    const char* afterStar = nullptr;
    const char* resumeAt = nullptr;
    while (*name != '\0') {
        if (*pattern == '*') {
            afterStar = ++pattern;
            resumeAt = name;
        } else if (*pattern == '?' || *pattern == *name) {
            ++pattern;
            ++name;
        } else if (afterStar != nullptr) {
            pattern = afterStar;
            name = ++resumeAt;
        } else {
            return false;
        }
    }
    while (*pattern == '*') ++pattern;
    return *pattern == '\0';
}

}  // namespace

Wildcard::Wildcard(const std::string& pattern)
    : m_pattern(pattern),
      m_isPlainName(pattern.find_first_of("*?") == std::string::npos),
      m_matchesAll(pattern == "*" || pattern == "*.*") {
    const std::size_t size = pattern.size();
    if (size > 2 && pattern.compare(size - 2, 2, ".*") == 0) m_stem = pattern.substr(0, size - 2);
}

bool Wildcard::matches(const char* name) const {
    if (m_matchesAll || matchesPattern(m_pattern.c_str(), name)) return true;
    return !m_stem.empty() && matchesPattern(m_stem.c_str(), name);
}

}  // namespace OrvoSupport
