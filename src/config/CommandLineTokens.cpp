#include "config/CommandLineTokens.h"

#include <algorithm>

namespace OrvoSupport {
namespace {

constexpr std::string_view delimiters = " \t";
constexpr std::string_view delimitersAndQuotes = " \t\"'";

// Appends the word that starts at `at`; returns where it ends.
std::size_t readToken(std::string_view line, std::size_t at, std::string& token) {
    while (true) {
        const std::size_t stop = std::min(line.find_first_of(delimitersAndQuotes, at), line.size());
        token.append(line, at, stop - at);
        if (stop == line.size() || delimiters.find(line[stop]) != std::string_view::npos) return stop;
        const std::size_t close = std::min(line.find(line[stop], stop + 1), line.size());
        token.append(line, stop + 1, close - stop - 1);
        if (close == line.size()) return close;
        at = close + 1;
    }
}

}  // namespace

std::vector<std::string> commandLineTokens(std::string_view line) {
    std::vector<std::string> tokens;
    std::size_t at = 0;
    while ((at = line.find_first_not_of(delimiters, at)) != std::string_view::npos)
        at = readToken(line, at, tokens.emplace_back());
    return tokens;
}

}  // namespace OrvoSupport
