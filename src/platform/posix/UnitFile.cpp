#include "platform/posix/UnitFile.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "os/CommandLineWords.h"
#include "platform/CodePage.h"

namespace OrvoSupport::platform {
namespace {

constexpr std::size_t longestFileName = 255;
constexpr wchar_t replacementCharacter = 0xFFFD;

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

bool hasControl(const std::string& text) { return std::any_of(text.begin(), text.end(), isControl); }

// What Unicode keeps for private use inside programs; systemd takes no line that holds any.
bool isNoncharacter(wchar_t c) { return (c & 0xFFFE) == 0xFFFE || (c >= 0xFDD0 && c <= 0xFDEF); }

bool isPlainInName(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == ':' || c == '.';
}

void appendHex(std::string& text, char c) {
    static const char digits[] = "0123456789abcdef";
    const unsigned char byte = static_cast<unsigned char>(c);
    text.append("\\x").append(1, digits[byte >> 4]).append(1, digits[byte & 15]);
}

// In quotes, and nothing in it means anything to systemd, which takes no line that is not UTF-8.
std::string quotedWord(const std::string& word) {
    std::string text = "\"";
    for (const char c : word) {
        if (c == '"' || c == '\\')
            text.append(1, '\\').append(1, c);
        else if (c == '%' || c == '$')
            text.append(2, c);
        else if (isControl(c) || static_cast<unsigned char>(c) >= 0x80)
            appendHex(text, c);
        else
            text += c;
    }
    return text + '"';
}

// Variables are looked for in the program's name as it is told to the program, but not in its path; where
// that matters, the two are written one by one.
std::string programOf(const std::string& path) {
    const std::string name = quotedWord(path);
    if (path.find('$') == std::string::npos) return name;
    std::string exact;
    for (std::size_t i = 0; i < name.size(); ++i) {
        exact += name[i];
        if (name[i] == '$') ++i;
    }
    return exact.insert(1, 1, '@') + ' ' + name;
}

// As the rest of a line: a backslash at the end would draw in the next line.
std::string lineOf(const std::string& value) {
    std::string text;
    for (const char c : value) text.append(c == '%' ? 2 : 1, c);
    if (!text.empty() && text.back() == '\\') text += ' ';
    return text;
}

std::string commandOf(const ServiceEntry& entry) {
    std::string text = programOf(entry.executable);
    // The first word of a line has rules of its own, so another one stands in for the program.
    const std::vector<std::string> words = commandLineWords("program " + entry.arguments);
    for (std::size_t i = 1; i < words.size(); ++i) text += ' ' + quotedWord(words[i]);
    return text;
}

// systemd runs no program whose path holds a quote or a backslash, however it is written.
bool isRunnable(const std::string& path) {
    return !hasControl(path) && path.find_first_of("\"'\\") == std::string::npos;
}

// A tab in arguments is a blank like another.
bool isLine(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c == '\t' || !isControl(c); });
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

std::string toUnitText(const std::string& text) {
    std::wstring wide(4 * text.size(), L'\0');
    wide.resize(toWide(CodePage::utf8, text.data(), text.size(), wide.data()));
    if (toUnitText(wide) == text) return text;
    wide.resize(4 * text.size());
    wide.resize(toWide(CodePage::ansi, text.data(), text.size(), wide.data()));
    return toUnitText(wide);
}

std::string toUnitText(const std::wstring& text) {
    std::wstring plain = text;
    std::replace_if(plain.begin(), plain.end(), isNoncharacter, replacementCharacter);
    std::string bytes(4 * plain.size(), '\0');
    bytes.resize(toNarrow(CodePage::utf8, plain.data(), plain.size(), bytes.data()));
    return bytes;
}

bool unitText(const ServiceEntry& entry, const std::string& description, std::string& text) {
    std::string units;
    if (!isRunnable(entry.executable) || !isLine(entry.arguments) || hasControl(description) ||
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
