// References in text: lines of the input are the text and then names and values in turn.
#include <OrvoException.h>
#include <OrvoExpandString.h>

#include <unistd.h>

#include <map>
#include <optional>
#include <vector>

#include "Fuzz.h"
#include "config/ReferenceExpansion.h"

using namespace OrvoSupport;

namespace {

using Values = std::map<std::string, std::string>;

/// As many replacements are done to a text; what goes on longer is taken for endless.
constexpr std::size_t limit = 300;

/// What becomes of a text. Looks at all of it anew after each replacement.
struct Expansion {
    std::string text;
    std::vector<std::string> names;  // looked up
    bool isEndless = false;
    bool isMissing = false;  // the last of the names

    template <class LookUp>
    Expansion(const std::string& from, LookUp lookUp) : text(from) {
        while (true) {
            const std::size_t open = text.find('<');
            if (open == std::string::npos) return;
            const std::size_t close = text.find('>', open);
            if (close == std::string::npos) return;
            isEndless = names.size() == limit;
            if (isEndless) return;
            names.push_back(text.substr(open + 1, close - open - 1));
            const std::optional<std::string> value = lookUp(names.back());
            isMissing = !value;
            if (isMissing) return;
            text = text.substr(0, open) + *value + text.substr(close + 1);
        }
    }
};

std::optional<std::string> find(const Values& values, const std::string& name) {
    const auto found = values.find(name);
    return found == values.end() ? std::nullopt : std::optional(found->second);
}

/// The search itself, which is stopped where the other was.
void checkSearch(const std::string& text, const Values& values, const Expansion& expected) {
    struct Stop {};
    std::vector<std::string> names;
    try {
        const std::string result = expandReferences(text, [&](const std::string& name, std::string& value) {
            if (names.size() == limit) throw Stop();
            names.push_back(name);
            const auto found = find(values, name);
            if (!found) throw Stop();
            value = *found;
        });
        REQUIRE(!expected.isEndless && !expected.isMissing && result == expected.text);
    } catch (const Stop&) {
        REQUIRE(expected.isEndless || expected.isMissing);
    }
    REQUIRE(names == expected.names);
}

void checkStore(const std::string& text, const Values& values) {
    const Expansion expected(text, [&](const std::string& name) { return find(values, name); });
    checkSearch(text, values, expected);
    if (expected.isEndless) return;
    OrvoProperties<string> store;
    for (const auto& [name, value] : values) {
        store.addProperty(name, value);
        store.addProperty(name, "not the first");
    }
    try {
        REQUIRE(OrvoExpandString(text, store) == expected.text && !expected.isMissing);
    } catch (const OrvoPropertyNotFound& e) {
        REQUIRE(expected.isMissing);
        REQUIRE(e.getText() == OrvoException("Property not found: " + expected.names.back()).getText());
        REQUIRE(e.getCode() == 0);
    }
}

/// Makes the values the whole environment of the process while it lives.
class Environment {
public:
    explicit Environment(const Values& values) : m_saved(::environ) {
        for (const auto& [name, value] : values) m_entries.push_back(name + '=' + value);
        for (std::string& entry : m_entries) m_pointers.push_back(entry.data());
        m_pointers.push_back(nullptr);
        ::environ = m_pointers.data();
    }
    ~Environment() { ::environ = m_saved; }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    char** const m_saved;
    std::vector<std::string> m_entries;
    std::vector<char*> m_pointers;
};

void checkEnvironment(const std::string& text, const Values& values) {
    const Environment environment(values);
    const Expansion expected(text, [](const std::string& name) -> std::optional<std::string> {
        const char* const value = std::getenv(name.c_str());
        return value ? value : "";
    });
    if (!expected.isEndless) REQUIRE(OrvoExpandString(text) == expected.text);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::string text = input.line();
    Values values;
    while (!input.atEnd()) {
        const std::string name = input.line();
        values.emplace(name, input.line());
    }
    checkEnvironment(text, values);
    values.erase("");  // no property has that name
    checkStore(text, values);
    return 0;
}
