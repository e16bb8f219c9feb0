#include "config/CommandLineTokens.h"

#include <algorithm>

namespace OrvoSupport {
namespace {

bool isDelimiter(char c) { return c == ' ' || c == '\t'; }
bool isQuote(char c) { return c == '"' || c == '\''; }

// Appends the word that starts at `at`; returns where it ends.
const char* readToken(const char* at, const char* end, std::string& token) {
    while (true) {
        const char* const stop = std::find_if(at, end, [](char c) { return isDelimiter(c) || isQuote(c); });
        token.append(at, stop);
        if (stop == end || isDelimiter(*stop)) return stop;
        const char* const close = std::find(stop + 1, end, *stop);
        token.append(stop + 1, close);
        if (close == end) return end;
        at = close + 1;
    }
}

}  // namespace

std::vector<std::string> commandLineTokens(std::string_view line) {
    const char* const end = line.data() + line.size();
    std::vector<std::string> tokens;
    const char* at = line.data();
    while ((at = std::find_if_not(at, end, isDelimiter)) != end)
        at = readToken(at, end, tokens.emplace_back());
    return tokens;
}

}  // namespace OrvoSupport
