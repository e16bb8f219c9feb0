#include "os/CommandLineWords.h"

#include <cstddef>

namespace OrvoSupport {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }

const char* skipBlanks(const char* at) {
    while (isBlank(*at)) ++at;
    return at;
}

const char* readProgram(const char* at, std::string& word) {
    bool quoted = false;
    for (; *at != '\0' && (quoted || !isBlank(*at)); ++at) {
        if (*at == '"')
            quoted = !quoted;
        else
            word += *at;
    }
    return at;
}

const char* readArgument(const char* at, std::string& word) {
    bool quoted = false;
    while (*at != '\0' && (quoted || !isBlank(*at))) {
        std::size_t backslashes = 0;
        for (; *at == '\\'; ++at) ++backslashes;
        if (*at != '"') {
            word.append(backslashes, '\\');
            if (backslashes == 0) word += *at++;
            continue;
        }
        word.append(backslashes / 2, '\\');
        const bool doubled = quoted && at[1] == '"';
        if (backslashes % 2 == 1) {
            word += '"';
        } else if (doubled) {
            word += '"';
            ++at;
        } else {
            quoted = !quoted;
        }
        ++at;
    }
    return at;
}

}  // namespace

std::vector<std::string> commandLineWords(const std::string& commandLine) {
    std::vector<std::string> words(1);
    const char* at = readProgram(skipBlanks(commandLine.c_str()), words.back());
    for (at = skipBlanks(at); *at != '\0'; at = skipBlanks(at)) {
        words.emplace_back();
        at = readArgument(at, words.back());
    }
    return words;
}

}  // namespace OrvoSupport
