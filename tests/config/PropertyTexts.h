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
#include "support/TempFolder.h"

namespace OrvoSupport {

using AllStrings = testing::Types<string, string_ci, wstring, wstring_ci>;
using CaseInsensitiveStrings = testing::Types<string_ci, wstring_ci>;
using WideStrings = testing::Types<wstring, wstring_ci>;
using NarrowStrings = testing::Types<string, string_ci>;

/// What the tests of a string type are called by.
struct StringName {
    template <class S>
    static std::string GetName(int) {
        const bool ignoresCase = S::traits_type::eq('a', 'A');
        return std::string(sizeof(typename S::value_type) == 1 ? "string" : "wstring") +
               (ignoresCase ? "_ci" : "");
    }
};

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

/// The bytes of a text file with line feeds only, whatever the system's end of a line is.
inline std::string textFile(const std::string& name) {
    std::string all = testing_support::readFile(name);
    all.erase(std::remove(all.begin(), all.end(), '\r'), all.end());
    return all;
}

/// A store with one entry, a=1.
inline OrvoProperties<string> someProperties() {
    OrvoProperties<string> store;
    store.addProperty("a=1", '=');
    return store;
}

/// A file of the test's own, and what a store makes of it.
template <class S>
class OrvoPropertiesFileTest : public testing::Test {
protected:
    // What a file of these bytes leaves in an empty store.
    std::string fromFile(std::string_view fileBytes, bool allowMultipleValues = true) {
        testing_support::writeFile(name, std::string(fileBytes));
        OrvoProperties<S> store(allowMultipleValues);
        return store.loadProperties(name) ? contents(store) : "not loaded";
    }

    // What a store of these lines writes, with line feeds only.
    std::string toFile(std::initializer_list<std::string_view> lines) {
        OrvoProperties<S> store;
        for (const std::string_view line : lines) store.addProperty(text<S>(line), '=');
        return store.saveProperties(name) ? textFile(name) : "not saved";
    }

    testing_support::TempFolder folder;
    const std::string name = folder.file("settings.properties");
};

}  // namespace OrvoSupport

#endif
