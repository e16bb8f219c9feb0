// Command lines, lenient and strict, in one piece and as a vector. The first byte says whether slashes are
// allowed, two lines are the specifications, the rest is the command line; NULs part the arguments of the
// vector.
#include <OrvoException.h>
#include <OrvoProgramOptions.h>

#include <map>
#include <vector>

#include "Fuzz.h"

using namespace OrvoSupport;

namespace {

using Words = std::vector<std::string>;
using Options = std::map<std::string, std::string>;

struct Specifications {
    bool isStrict;
    std::string letters, names;
};

/// What comes of a command line.
struct Outcome {
    std::string failure;
    std::string program;
    Words plain;
    Options options;  // first values
};

/// A command line taken apart character by character and option by option.
class Model {
public:
    Model(const Specifications& specifications, bool allowSlash)
        : m_specifications(specifications), m_allowSlash(allowSlash) {}

    Outcome outcomeOf(const Words& arguments) {
        m_outcome = Outcome();
        m_arguments = arguments;
        if (!arguments.empty()) m_outcome.program = arguments[0];
        for (m_next = 1; m_next < arguments.size() && m_outcome.failure.empty();) take(arguments[m_next++]);
        return m_outcome;
    }

private:
    void take(const std::string& argument) {
        const char first = argument.c_str()[0];
        if (first != '-' && !(m_allowSlash && first == '/'))
            m_outcome.plain.push_back(argument);
        else if (argument.c_str()[1] == '-')
            takeLong(argument.substr(2));
        else
            takeShort(argument.substr(1));
    }

    void takeLong(const std::string& text) {
        const std::string name = text.substr(0, text.find('='));
        if (!m_specifications.isStrict || declares(name, ":"))
            addLine(text);
        else if (!declares(name, ".:"))
            fail("Unrecognized option: --" + name);
    }

    void takeShort(const std::string& text) {
        const std::string name = text.substr(0, text.find('='));
        if (!m_specifications.isStrict || declares(name, ":"))
            addLine(text);
        else if (declares(name, ".:"))
            addData(text, text);
        else
            takeLetter(text);
    }

    void takeLetter(const std::string& text) {
        const std::string letter(1, text.c_str()[0]);
        const std::string& letters = m_specifications.letters;
        const std::size_t at = letters.find(letter);
        if (letter == ":" || text.empty() || at == std::string::npos)
            fail("Unrecognized option: -" + letter);
        else if (letters.substr(at + 1, 1) != ":")
            add(letter, "");
        else if (text.size() > 1)
            add(letter, text.substr(1));
        else
            addData(letter, letter);
    }

    bool declares(const std::string& name, const std::string& end) const {
        return m_specifications.names.find(":" + name + end) != std::string::npos;
    }

    /// The next argument is the data.
    void addData(const std::string& name, const std::string& shown) {
        if (m_next < m_arguments.size())
            add(name, m_arguments[m_next++]);
        else
            fail("option data not available for: -" + shown);
    }

    void addLine(const std::string& line) {
        if (line[0] == '#') return;
        const std::size_t separator = line.find('=');
        if (separator == std::string::npos) return add(line, "");
        std::size_t end = line.find('\r');
        if (end == std::string::npos) end = line.find('\n');
        if (end < separator) end = std::string::npos;
        std::string value = line.substr(0, end).substr(separator + 1);
        while (!value.empty() && value[0] == ' ') value.erase(0, 1);
        add(line.substr(0, separator), value);
    }

    void add(const std::string& name, const std::string& value) {
        if (!name.empty()) m_outcome.options.emplace(name, value);
    }

    void fail(const std::string& text) {
        m_outcome.failure = OrvoException("OrvoProgramOptions::parse: " + text).getText();
    }

    const Specifications& m_specifications;
    const bool m_allowSlash;
    Words m_arguments;
    std::size_t m_next = 0;
    Outcome m_outcome;
};

/// One character after the other; a word ends at its first NUL.
Words wordsOf(const std::string& line) {
    Words words;
    bool isInWord = false;
    char quote = '\0';
    for (const char c : line) {
        const bool isDelimiter = quote == '\0' && (c == ' ' || c == '\t');
        if (isDelimiter) {
            isInWord = false;
            continue;
        }
        if (!isInWord) words.emplace_back();
        isInWord = true;
        if (quote == '\0' && (c == '"' || c == '\''))
            quote = c;
        else if (quote != '\0' && c == quote)
            quote = '\0';
        else
            words.back() += c;
    }
    for (std::string& word : words) word.resize(std::min(word.size(), word.find('\0')));
    return words;
}

Words partsOf(const std::string& text) {
    Words parts;
    for (std::size_t start = 0; start <= text.size(); start += parts.back().size() + 1)
        parts.push_back(text.c_str() + start);
    return parts;
}

/// The vector form wants text that may be written to, and a null behind the last.
template <class Use>
void asVector(Words words, Use use) {
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    use(static_cast<int>(words.size()), pointers.data());
}

void check(const OrvoProgramOptions& options, const Outcome& expected, const Words& words) {
    REQUIRE(expected.failure.empty());
    REQUIRE(options.getProgramName() == expected.program);
    REQUIRE(Words(options.begin(), options.end()) == expected.plain);
    REQUIRE(options.getArgumentCount() == expected.plain.size());
    REQUIRE(options.getIterator() == options.begin());
    const auto valueOf = [&options](const std::string& name) {
        try {
            return '[' + options.getSwitch(name) + ']';
        } catch (const OrvoException& e) {
            REQUIRE(e.getUText().empty() && e.getCode() == 0);
            return std::string();
        }
    };
    for (const auto& [name, value] : expected.options) REQUIRE(valueOf(name) == '[' + value + ']');
    // No name that any reading of a word could have made.
    for (const std::string& word : words)
        for (std::size_t start = 0; start <= std::min<std::size_t>(word.size(), 2); ++start)
            for (const std::size_t length : {std::size_t{1}, word.find('=', start) - start, word.size()}) {
                const std::string name = word.substr(start, length);
                REQUIRE(expected.options.count(name) == 1 || valueOf(name).empty());
            }
}

/// Calls `make`, which makes the options of these words.
template <class Make>
void check(const Outcome& expected, const Words& words, Make make) {
    try {
        check(make(), expected, words);
    } catch (const OrvoException& e) {
        REQUIRE(e.getCode() == 0);
        REQUIRE(!expected.failure.empty() && e.getText() == expected.failure);
    }
}

void checkLine(const std::string& line, const Specifications& use, bool allowSlash) {
    const Words words = wordsOf(line);
    check(Model(use, allowSlash).outcomeOf(words), words, [&] {
        return use.isStrict ? OrvoProgramOptions(line, use.letters, use.names, allowSlash)
                            : OrvoProgramOptions(line, allowSlash);
    });
}

void checkVector(const Words& words, const Specifications& use, bool allowSlash) {
    asVector(words, [&](int argc, char** argv) {
        check(Model(use, allowSlash).outcomeOf(words), words, [&] {
            return use.isStrict ? OrvoProgramOptions(argc, argv, use.letters, use.names, allowSlash)
                                : OrvoProgramOptions(argc, argv, allowSlash);
        });
    });
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const bool allowSlash = input.byte() % 2 != 0;
    Specifications specifications{true, input.line(), ""};
    specifications.names = input.line();
    const std::string line = input.rest();
    for (const bool isStrict : {false, true}) {
        specifications.isStrict = isStrict;
        checkLine(line, specifications, allowSlash);
        checkVector(wordsOf(line), specifications, allowSlash);
        checkVector(partsOf(line), specifications, allowSlash);
    }
    return 0;
}
