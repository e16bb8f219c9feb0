#include "platform/posix/UnitFile.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "os/CommandLineWords.h"

namespace OrvoSupport::platform {
namespace {

constexpr std::size_t longestFileName = 255;

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

bool hasControl(const std::string& text) { return std::any_of(text.begin(), text.end(), isControl); }

bool isPlainInName(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == ':' || c == '.';
}

void appendHex(std::string& text, char c) {
    static const char digits[] = "0123456789abcdef";
    const unsigned char byte = static_cast<unsigned char>(c);
    text.append("\\x").append(1, digits[byte >> 4]).append(1, digits[byte & 15]);
}

// As one word of a command: in quotes, and nothing in it means anything to systemd.
std::string quotedWord(const std::string& word, bool isProgram) {
    std::string text = "\"";
    for (const char c : word) {
        if (c == '"' || c == '\\')
            text.append(1, '\\').append(1, c);
        else if (c == '%' || (c == '$' && !isProgram))  // no variables are looked for in the program's path
            text.append(2, c);
        else
            text += c;
    }
    return text + '"';
}

// As the rest of a line: a backslash at the end would draw in the next line.
std::string lineOf(const std::string& value) {
    std::string text;
    for (const char c : value) text.append(c == '%' ? 2 : 1, c);
    if (!text.empty() && text.back() == '\\') text += ' ';
    return text;
}

std::string commandOf(const ServiceEntry& entry) {
    std::string text = quotedWord(entry.executable, true);
    // The first word of a line has rules of its own, so another one stands in for the program.
    const std::vector<std::string> words = commandLineWords("program " + entry.arguments);
    for (std::size_t i = 1; i < words.size(); ++i) text += ' ' + quotedWord(words[i], false);
    return text;
}

bool unitsOf(const std::string& dependencies, std::string& units) {
    for (std::size_t begin = 0; begin < dependencies.size();) {
        const std::size_t end = std::min(dependencies.find('\0', begin), dependencies.size());
        const std::string name = dependencies.substr(begin, end - begin);
        begin = end + 1;
        if (name.empty()) break;  // an empty name ends the list
        if (!isServiceName(name)) return false;
        units += (units.empty() ? "" : " ") + unitName(name);
    }
    return true;
}

}  // namespace

bool isServiceName(const std::string& serviceName) {
    return !serviceName.empty() && serviceName.find('/') == std::string::npos && !hasControl(serviceName) &&
           unitName(serviceName).size() <= longestFileName;
}

std::string unitName(const std::string& serviceName) {
    std::string text;
    for (const char c : serviceName) {
        if (isPlainInName(c) && !(text.empty() && c == '.'))
            text += c;
        else
            appendHex(text, c);
    }
    return text + ".service";
}

bool unitText(const ServiceEntry& entry, const std::string& description, std::string& text) {
    std::string units;
    if (hasControl(entry.executable) || hasControl(entry.arguments) || hasControl(description) ||
        !unitsOf(entry.dependencies, units))
        return false;
    text = "[Unit]\nDescription=" + lineOf(description) + "\n";
    if (!units.empty()) text += "After=" + units + "\nRequires=" + units + "\n";
    // A stop is told to the program alone: what it runs is its own affair until it has stopped.
    text += "\n[Service]\nType=notify\nExecStart=" + commandOf(entry) +
            "\nKillMode=mixed\n\n[Install]\nWantedBy=multi-user.target\n";
    return true;
}

}  // namespace OrvoSupport::platform
