#include "OrvoVersion.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "OrvoException.h"
#include "OrvoTokenizer.h"

namespace OrvoSupport {
namespace {

using Components = std::vector<std::int32_t>;

bool startsWithDigit(const string& text) { return !text.empty() && text[0] >= '0' && text[0] <= '9'; }

std::int32_t leadingNumber(const string& text) {
    std::int32_t number = std::numeric_limits<std::int32_t>::max();  // stays when the digits say more
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

bool isZero(std::int32_t component) { return component == 0; }

/// The texts of a range's two bounds; false when the item is none.
bool splitRange(const string& item, std::pair<string, string>& bounds) {
    const string::size_type minus = item.find('-');
    if (minus == string::npos || minus < 2 || minus + 2 >= item.size()) return false;
    bounds.first = item.substr(1, minus - 1);
    bounds.second = item.substr(minus + 1, item.size() - minus - 2);
    return true;
}

}  // namespace

OrvoVersion::OrvoVersion() = default;
OrvoVersion::OrvoVersion(int* const) {}
OrvoVersion::OrvoVersion(const string& text) { parse(text); }
OrvoVersion::OrvoVersion(const OrvoVersion& other) = default;
OrvoVersion& OrvoVersion::operator=(const OrvoVersion& other) = default;
OrvoVersion::~OrvoVersion() = default;

OrvoVersion& OrvoVersion::operator=(const string& text) {
    m_components.clear();
    m_suffix.clear();
    parse(text);
    return *this;
}

void OrvoVersion::parse(const string& text) {
    std::vector<string> tokens;
    OrvoTokenizer(text, ".", tokens);
    for (string& token : tokens) {
        if (startsWithDigit(token)) {
            m_components.push_back(leadingNumber(token));
        } else if (&token == &tokens.back()) {
            m_suffix = std::move(token);
        } else {
            throw OrvoException("OrvoVersion::parse: invalid version string: " + text);
        }
    }
}

bool OrvoVersion::isInit() const { return !m_components.empty() || !m_suffix.empty(); }

string OrvoVersion::toString() const {
    string text;
    for (const std::int32_t component : m_components) {
        if (!text.empty()) text += '.';
        text += std::to_string(component);
    }
    if (!m_suffix.empty()) text.append(1, '.').append(m_suffix);
    return text;
}

OrvoVersion::tTestMode OrvoVersion::compare(const OrvoVersion& a, const OrvoVersion& b) {
    const Components& left = a.m_components;
    const Components& right = b.m_components;
    const auto [inLeft, inRight] = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
    if (inLeft != left.end() && inRight != right.end()) return *inLeft < *inRight ? Less : Greater;
    if (!std::all_of(inLeft, left.end(), isZero)) return Greater;
    if (!std::all_of(inRight, right.end(), isZero)) return Less;
    const int suffixes = a.m_suffix.compare(b.m_suffix);
    return suffixes == 0 ? Equal : suffixes < 0 ? Less : Greater;
}

std::vector<std::pair<OrvoVersion, OrvoVersion>> OrvoVersion::createRangeVector(const string& spec) {
    std::vector<string> items;
    OrvoTokenizer(spec, ",", items);
    std::vector<std::pair<string, string>> texts;
    for (const string& item : items) {
        texts.emplace_back(item, string());
        if (item.front() == '{' && !splitRange(item, texts.back()))
            throw OrvoException("OrvoVersion::createRangeVector: Invalid range specification: " + spec);
    }

    std::vector<std::pair<OrvoVersion, OrvoVersion>> ranges;
    ranges.reserve(texts.size());
    for (const auto& [lower, upper] : texts) ranges.emplace_back(lower, upper);
    return ranges;
}

}  // namespace OrvoSupport
