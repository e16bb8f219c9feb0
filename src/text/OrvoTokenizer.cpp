#include "OrvoTokenizer.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace OrvoSupport {
namespace {

// Which of the 256 characters are delimiters; one load a character, however many delimiters there are.
class DelimiterSet {
public:
    explicit DelimiterSet(const char* delimiters) {
        for (; *delimiters; ++delimiters) m_isMember[static_cast<unsigned char>(*delimiters)] = true;
    }
    bool contains(char c) const { return m_isMember[static_cast<unsigned char>(c)]; }

private:
    std::array<bool, 256> m_isMember{};
};

std::size_t lengthWithin(const char* text, std::size_t limit) {
    const void* end = std::memchr(text, '\0', limit);
    return end ? static_cast<std::size_t>(static_cast<const char*>(end) - text) : limit;
}

void splitInPlace(char* position, char* end, const DelimiterSet& delimiters, std::vector<string>& out) {
    while (true) {
        while (position != end && delimiters.contains(*position)) ++position;
        if (position == end) return;
        char* const start = position;
        while (position != end && !delimiters.contains(*position)) ++position;
        out.emplace_back(start, position);
        if (position != end) *position++ = '\0';
    }
}

}  // namespace

void OrvoTokenizer(const string& text, const string& delimiters, std::vector<string>& out) {
    const DelimiterSet set(delimiters.c_str());
    string buffer(text.c_str());
    out.clear();
    splitInPlace(buffer.data(), buffer.data() + buffer.size(), set, out);
}

void OrvoTokenizer(char* buffer, unsigned int maxLength, const string& delimiters, std::vector<string>& out) {
    const DelimiterSet set(delimiters.c_str());
    out.clear();
    if (buffer) splitInPlace(buffer, buffer + lengthWithin(buffer, maxLength), set, out);
}

void OrvoTokenizer(char* block, unsigned int maxLength, std::vector<string>& out) {
    out.clear();
    if (!block) return;
    std::size_t left = maxLength;
    while (left > 0 && *block != '\0') {
        const std::size_t length = lengthWithin(block, left);
        out.emplace_back(block, length);
        if (length == left) return;
        block += length + 1;
        left -= length + 1;
    }
}

void OrvoTokenizer(const string& text, std::vector<string>& out) {
    string piece(text.c_str());
    out.clear();
    if (!piece.empty()) out.push_back(std::move(piece));
}

void OrvoParseCommandLine(const string& line, std::vector<string>& out) {
    const string text(line.c_str());
    out.clear();
    string word;
    const auto endWord = [&] {
        if (!word.empty()) out.push_back(word);
        word.clear();
    };

    std::size_t position = 0;
    while (position < text.size()) {
        if (text[position] == ' ') {
            endWord();
            ++position;
        } else if (text[position] == '"' && word.empty()) {
            const std::size_t start = position + 1;
            const std::size_t close = std::min(text.find('"', start), text.size());
            word.assign(text, start, close - start);
            position = close + 1;
        } else {
            const std::size_t blank = std::min(text.find(' ', position), text.size());
            word.append(text, position, blank - position);
            position = blank;
        }
    }
    endWord();
}

string OrvoExtractFirstString(const string& text, string& rest) {
    string first;
    string following;
    if (!text.empty() && text.front() == '"') {
        const std::size_t quote = text.find('"', 1);
        first = text.substr(1, quote == string::npos ? quote : quote - 1);
        // Without a closing quote the rest repeats the word; callers tell an unclosed quote by that.
        following = text.substr(quote == string::npos ? 1 : quote + 1);
    } else {
        const std::size_t separator = text.find_first_of(" \t");
        first = text.substr(0, separator);
        if (separator != string::npos) following = text.substr(separator + 1);
    }
    rest = std::move(following);
    return first;
}

}  // namespace OrvoSupport
