// The four kinds of property stores, and texts and files for tests that run with each of them.
#ifndef TESTS_CONFIG_PROPERTY_TEXTS_H
#define TESTS_CONFIG_PROPERTY_TEXTS_H

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "OrvoProperties.h"

namespace OrvoSupport {

using AllStrings = testing::Types<string, string_ci, wstring, wstring_ci>;
using CaseInsensitiveStrings = testing::Types<string_ci, wstring_ci>;
using WideStrings = testing::Types<wstring, wstring_ci>;
using NarrowStrings = testing::Types<string, string_ci>;

/// The bytes as characters of the same numbers.
template <class S>
S text(std::string_view bytes) {
    S result(bytes.size(), typename S::value_type());
    std::transform(bytes.begin(), bytes.end(), result.begin(),
                   [](char c) { return static_cast<typename S::value_type>(static_cast<unsigned char>(c)); });
    return result;
}

/// Back to bytes; characters above 255 show as "?".
template <class S>
std::string bytes(const S& wide) {
    std::string result;
    for (const auto c : wide) {
        const auto number = static_cast<unsigned long>(c);
        result += sizeof c == 1 || number < 256 ? static_cast<char>(number) : '?';
    }
    return result;
}

/// Notes everything it visits, as "key=value,value;".
template <class S>
class Notes : public OrvoPropertyIterator<S> {
public:
    void visit(const std::pair<S, std::vector<S>>& entry) override {
        m_text += bytes(entry.first) + '=';
        for (const S& value : entry.second)
            m_text += (&value == entry.second.data() ? "" : ",") + bytes(value);
        m_text += ';';
    }

    const std::string& all() const { return m_text; }

private:
    std::string m_text;
};

/// All entries of a store as Notes has them.
template <class S>
std::string contents(const OrvoProperties<S>& store) {
    Notes<S> notes;
    store.forEach(notes);
    return notes.all();
}

/// What one line leaves in an empty store.
template <class S>
std::string fromLine(std::string_view line, char separator = '=') {
    OrvoProperties<S> store;
    store.addProperty(text<S>(line), separator);
    return contents(store);
}

}  // namespace OrvoSupport

#endif
