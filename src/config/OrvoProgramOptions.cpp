#include "OrvoProgramOptions.h"

#include <string_view>

#include "OrvoException.h"
#include "config/CommandLineTokens.h"

namespace OrvoSupport {
namespace {

[[noreturn]] void unrecognized(const char* dashes, std::string_view name) {
    throw OrvoException("OrvoProgramOptions::parse: Unrecognized option: " + string(dashes).append(name));
}

// How a specification declares an option.
enum class Declared { no, alone, withData };

// The specification is a text in which ":name:" or ":name.:" is looked for. So a name that holds such signs
// itself may match across words, and where both are found the first counts.
Declared declarationOf(std::string_view name, std::string_view longSpec) {
    Declared declared = Declared::no;
    for (auto at = longSpec.find(name, 1); at != std::string_view::npos; at = longSpec.find(name, at + 1)) {
        if (longSpec[at - 1] != ':') continue;
        const std::string_view rest = longSpec.substr(at + name.size());
        if (rest.substr(0, 1) == ":") return Declared::alone;
        if (rest.substr(0, 2) == ".:") declared = Declared::withData;
    }
    return declared;
}

// A colon is no letter, and neither is the NUL behind a lone dash, whatever the specification holds.
Declared declarationOf(char letter, std::string_view shortSpec) {
    const std::size_t at = shortSpec.find(letter);
    if (letter == ':' || letter == '\0' || at == std::string_view::npos) return Declared::no;
    return shortSpec.substr(at + 1, 1) == ":" ? Declared::withData : Declared::alone;
}

std::string_view nameIn(std::string_view text) { return text.substr(0, text.find('=')); }

// What is left of an argument vector, up to its first null.
class Arguments {
public:
    Arguments(int count, char** arguments) : m_next(arguments) {
        while (arguments && m_left < count && arguments[m_left]) ++m_left;
    }

    int left() const { return m_left; }

    /// The next argument, or null.
    const char* next() { return m_left > 0 ? --m_left, *m_next++ : nullptr; }

    /// The next argument as the data of an option.
    const char* dataOf(std::string_view option) {
        if (const char* data = next()) return data;
        throw OrvoException("OrvoProgramOptions::parse: option data not available for: -" + string(option));
    }

private:
    char** m_next;
    int m_left = 0;
};

// Two dashes: never takes the next argument.
void addLongOption(OrvoProperties<string>& options, const char* text, std::string_view longSpec) {
    const std::string_view name = nameIn(text);
    switch (declarationOf(name, longSpec)) {
        case Declared::alone: return options.addProperty(text, '=');
        case Declared::withData: return;  // users write the data behind one dash
        case Declared::no: unrecognized("--", name);
    }
}

void addLetter(OrvoProperties<string>& options, const char* text, std::string_view shortSpec,
               Arguments& arguments) {
    const string letter(1, *text);
    switch (declarationOf(*text, shortSpec)) {
        case Declared::alone: return options.addProperty(letter, string());
        case Declared::withData:
            return options.addProperty(letter, string(text[1] ? text + 1 : arguments.dataOf(letter)));
        case Declared::no: unrecognized("-", letter);
    }
}

// One dash: a declared long name comes before a letter.
void addOption(OrvoProperties<string>& options, const char* text, std::string_view shortSpec,
               std::string_view longSpec, Arguments& arguments) {
    switch (declarationOf(nameIn(text), longSpec)) {
        case Declared::alone: return options.addProperty(text, '=');
        case Declared::withData: return options.addProperty(text, string(arguments.dataOf(text)));
        case Declared::no: return addLetter(options, text, shortSpec, arguments);
    }
}

}  // namespace

OrvoProgramOptions::OrvoProgramOptions(int argc, char** argv, bool allowSlash) {
    parse(argc, argv, string(), string(), false, allowSlash);
}

OrvoProgramOptions::OrvoProgramOptions(int argc, char** argv, const string& shortSpec, const string& longSpec,
                                       bool allowSlash) {
    parse(argc, argv, shortSpec, longSpec, true, allowSlash);
}

OrvoProgramOptions::OrvoProgramOptions(const string& commandLine, bool allowSlash) {
    parse(commandLine, string(), string(), false, allowSlash);
}

OrvoProgramOptions::OrvoProgramOptions(const string& commandLine, const string& shortSpec,
                                       const string& longSpec, bool allowSlash) {
    parse(commandLine, shortSpec, longSpec, true, allowSlash);
}

OrvoProgramOptions::OrvoProgramOptions(const OrvoProgramOptions& other)
    : m_programName(other.m_programName),
      m_options(other.m_options),
      m_arguments(other.m_arguments),
      m_current(m_arguments.begin()) {}

OrvoProgramOptions& OrvoProgramOptions::operator=(const OrvoProgramOptions& other) {
    string programName(other.m_programName);
    std::vector<string> arguments(other.m_arguments);
    m_options = other.m_options;
    m_programName.swap(programName);
    m_arguments.swap(arguments);
    reset();
    return *this;
}

OrvoProgramOptions::~OrvoProgramOptions() = default;

const string& OrvoProgramOptions::getProgramName() const { return m_programName; }

string OrvoProgramOptions::getSwitch(const string& name) const {
    string value;
    if (!m_options.getPropertyValue(name, value)) throw OrvoException();
    return value;
}

string OrvoProgramOptions::getSwitch(const string& name, const string& otherName) const {
    string value;
    return m_options.getPropertyValue(otherName, value) ? value : getSwitch(name);
}

unsigned OrvoProgramOptions::getArgumentCount() const { return static_cast<unsigned>(m_arguments.size()); }

const string& OrvoProgramOptions::getArgument(unsigned index) const {
    if (index >= m_arguments.size())
        throw OrvoException("OrvoProgramOptions::getArgument: index out of bounds");
    return m_arguments[index];
}

const string& OrvoProgramOptions::getArgument(const const_iterator& position) const {
    return getArgument(static_cast<unsigned>(position - m_arguments.begin()));
}

OrvoProgramOptions::const_iterator OrvoProgramOptions::begin() const { return m_arguments.begin(); }

OrvoProgramOptions::const_iterator OrvoProgramOptions::end() const { return m_arguments.end(); }

const string& OrvoProgramOptions::getArgument() const { return getArgument(m_current); }

const string& OrvoProgramOptions::operator*() const { return getArgument(m_current); }

const OrvoProgramOptions::const_iterator& OrvoProgramOptions::getIterator() const { return m_current; }

OrvoProgramOptions::const_iterator& OrvoProgramOptions::operator++() {
    if (m_current != end()) ++m_current;
    return m_current;
}

OrvoProgramOptions::const_iterator& OrvoProgramOptions::operator--() {
    if (m_current != begin()) --m_current;
    return m_current;
}

OrvoProgramOptions::const_iterator& OrvoProgramOptions::reset() { return m_current = m_arguments.begin(); }

void OrvoProgramOptions::parse(int argc, char** argv, const string& shortSpec, const string& longSpec,
                               bool strict, bool allowSlash) {
    Arguments arguments(argc, argv);
    if (const char* program = arguments.next()) m_programName = program;
    m_arguments.reserve(static_cast<std::size_t>(arguments.left()));
    while (const char* argument = arguments.next()) {
        const bool isOption = argument[0] == '-' || (allowSlash && argument[0] == '/');
        const bool isLong = isOption && argument[1] == '-';
        if (!isOption)
            m_arguments.emplace_back(argument);
        else if (!strict)
            m_options.addProperty(argument + (isLong ? 2 : 1), '=');
        else if (isLong)
            addLongOption(m_options, argument + 2, longSpec);
        else
            addOption(m_options, argument + 1, shortSpec, longSpec, arguments);
    }
    reset();
}

void OrvoProgramOptions::parse(const string& commandLine, const string& shortSpec, const string& longSpec,
                               bool strict, bool allowSlash) {
    std::vector<string> tokens = commandLineTokens(commandLine);
    std::vector<char*> argv;
    argv.reserve(tokens.size());
    for (string& token : tokens) argv.push_back(token.data());
    parse(static_cast<int>(argv.size()), argv.data(), shortSpec, longSpec, strict, allowSlash);
}

}  // namespace OrvoSupport
