// Replacing the references in a text, wherever their values come from.
#ifndef OSUPT_CONFIG_REFERENCE_EXPANSION_H
#define OSUPT_CONFIG_REFERENCE_EXPANSION_H

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace OrvoSupport {

/// Text that is taken away at its beginning, and to which values are added there. Room at the beginning is
/// used again, so that either costs no more than what is taken or added.
class PendingText {
public:
    explicit PendingText(std::string_view text) : m_buffer(text) {}

    std::string_view view() const { return std::string_view(m_buffer).substr(m_start); }

    void drop(std::size_t count) { m_start += count; }

    void prepend(std::string_view value) {
        if (m_start < value.size()) makeRoom(value.size());
        m_start -= value.size();
        value.copy(&m_buffer[m_start], value.size());
    }

private:
    void makeRoom(std::size_t size) {
        const std::string_view text = view();
        std::string grown;
        grown.reserve(size + 2 * text.size());
        grown.resize(size + text.size());
        m_start = grown.size();
        grown.append(text);
        m_buffer.swap(grown);
    }

    std::string m_buffer;
    std::size_t m_start = 0;
};

/// Replaces each "<NAME>" in turn by what lookUp(NAME, value) puts into `value`. Does what searching the
/// whole text anew after each replacement would do, but never looks again at what holds no "<": before the
/// first of them there is nothing to find.
template <class LookUp>
std::string expandReferences(std::string_view text, LookUp lookUp) {
    std::string result;
    result.reserve(text.size());
    PendingText pending(text);
    std::string name;
    std::string value;
    while (true) {
        const std::string_view rest = pending.view();
        const std::size_t open = rest.find('<');
        const std::size_t close = rest.find('>', open);  // none if open is none
        if (close == std::string_view::npos) return result.append(rest);
        result.append(rest, 0, open);
        name.assign(rest, open + 1, close - open - 1);
        pending.drop(close + 1);

        lookUp(name, value);
        const std::size_t next = std::min(value.find('<'), value.size());
        result.append(value, 0, next);
        pending.prepend(std::string_view(value).substr(next));
    }
}

}  // namespace OrvoSupport

#endif
