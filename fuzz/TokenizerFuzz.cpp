// Splitting text and command lines, and hex: the first line is the delimiters, the rest the text.
#include <OrvoTokenizer.h>

#include <cstring>
#include <memory>
#include <vector>

#include "Fuzz.h"

using namespace OrvoSupport;

namespace {

using Words = std::vector<std::string>;

/// A copy of the text that ends exactly where its memory ends.
std::unique_ptr<char[]> exactCopy(const std::string& text) {
    std::unique_ptr<char[]> copy(new char[text.size()]);
    if (!text.empty()) std::memcpy(copy.get(), text.data(), text.size());
    return copy;
}

void checkDelimiters(const std::string& text, const std::string& delimiters) {
    std::string expectedBuffer(text.c_str());
    expectedBuffer += '\0';
    Words expected;
    char* rest = nullptr;
    for (char* word = strtok_r(expectedBuffer.data(), delimiters.c_str(), &rest); word;
         word = strtok_r(nullptr, delimiters.c_str(), &rest))
        expected.push_back(word);

    Words words{"left over"};
    OrvoTokenizer(text, delimiters, words);
    REQUIRE(words == expected);

    const auto buffer = exactCopy(text);
    OrvoTokenizer(buffer.get(), static_cast<unsigned>(text.size()), delimiters, words);
    REQUIRE(words == expected);
    const std::size_t length = expectedBuffer.size() - 1;
    REQUIRE(std::equal(buffer.get(), buffer.get() + length, expectedBuffer.data()));
    for (std::size_t i = length; i < text.size(); ++i) REQUIRE(buffer[i] == text[i]);
}

void checkBlock(const std::string& text) {
    Words expected;
    for (std::size_t start = 0; start < text.size() && text[start] != '\0';) {
        expected.push_back(text.c_str() + start);
        start += expected.back().size() + 1;
    }
    Words words{"left over"};
    const auto block = exactCopy(text);
    OrvoTokenizer(block.get(), static_cast<unsigned>(text.size()), words);
    REQUIRE(words == expected);

    OrvoTokenizer(text, words);
    REQUIRE(words == (text.c_str()[0] ? Words{text.c_str()} : Words{}));
}

/// In place, quotes taken out by moving up what follows.
Words wordsReference(std::string line) {
    line.resize(std::strlen(line.c_str()));
    Words words;
    const auto add = [&](std::size_t first, std::size_t last) {
        if (last > first) words.push_back(line.substr(first, last - first));
    };
    std::size_t start = 0;
    std::size_t position = 0;
    while (position < line.size()) {
        if (line[position] == ' ') {
            add(start, position);
            start = ++position;
        } else if (line[position] == '"' && position == start) {
            ++start;
            position = line.find('"', start);
            if (position == std::string::npos) break;
            line.erase(position, 1);
        } else {
            position = std::min(line.find(' ', position), line.size());
        }
    }
    add(start, line.size());
    return words;
}

void checkCommandLine(const std::string& line) {
    Words words{"left over"};
    OrvoParseCommandLine(line, words);
    REQUIRE(words == wordsReference(line));
    for (const std::string& word : words) REQUIRE(!word.empty());
}

void checkFirstString(const std::string& text) {
    std::string rest = "left over";
    const std::string first = OrvoExtractFirstString(text, rest);
    if (!text.empty() && text[0] == '"') {
        const bool isClosed = text.find('"', 1) != std::string::npos;
        REQUIRE(isClosed ? "\"" + first + "\"" + rest == text : "\"" + first == text && rest == first);
        REQUIRE(first.find('"') == std::string::npos);
    } else {
        REQUIRE(first.find_first_of(" \t") == std::string::npos);
        REQUIRE(text == first ? rest.empty() : text.substr(first.size() + 1) == rest);
    }
    std::string both = text;
    REQUIRE(OrvoExtractFirstString(both, both) == first && both == rest);
}

void checkHex(const std::string& bytes) {
    const std::string hex = OrvoBytesToHex(bytes.data(), static_cast<int>(bytes.size()));
    REQUIRE(hex.size() == 2 * bytes.size());
    REQUIRE(hex.find_first_not_of("0123456789ABCDEF") == std::string::npos);
    std::string lower = hex;
    for (char& digit : lower) digit = digit >= 'A' ? static_cast<char>(digit + 32) : digit;
    for (const std::string& digits : {hex, lower, hex + "7"}) {
        const auto decoded = std::make_unique<char[]>(bytes.size());
        REQUIRE(OrvoHexToBytes(decoded.get(), digits) == static_cast<int>(bytes.size()));
        REQUIRE(std::equal(bytes.begin(), bytes.end(), decoded.get()));
    }
    const auto any = std::make_unique<char[]>(bytes.size() / 2);
    REQUIRE(OrvoHexToBytes(any.get(), bytes) == static_cast<int>(bytes.size() / 2));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::string delimiters = input.line();
    const std::string text = input.rest();
    checkDelimiters(text, delimiters);
    checkBlock(text);
    checkCommandLine(text);
    checkFirstString(text);
    checkHex(text);
    return 0;
}
