#include "OrvoTokenizer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "text/SystemText.h"

namespace OrvoSupport {
namespace {

using Words = std::vector<string>;
using testing_support::GuardedMemory;

Words split(const string& text, const string& delimiters) {
    Words out = {"old"};
    OrvoTokenizer(text, delimiters, out);
    return out;
}

Words parse(const string& line) {
    Words out = {"old"};
    OrvoParseCommandLine(line, out);
    return out;
}

TEST(OrvoTokenizerTest, splitsAtRunsOfAnyDelimiter) {
    struct Case {
        const char* text;
        const char* delimiters;
        Words expected;
    };
    const Case cases[] = {
        {"  a,,b ", " ,", {"a", "b"}},
        {"a", ",", {"a"}},
        {"a,b;c", ",;", {"a", "b", "c"}},
        {"", ",", {}},
        {",,,", ",", {}},
        {"a b", "", {"a b"}},
        {"\xE4 \xF6", " ", {"\xE4", "\xF6"}},
        {"a\xE4z", "\xE4", {"a", "z"}},
        {"1.2..3", ".", {"1", "2", "3"}},
        {"\\root\\leaf\\", "\\", {"root", "leaf"}},
    };
    for (const Case& c : cases) EXPECT_EQ(c.expected, split(c.text, c.delimiters)) << c.text;
}

TEST(OrvoTokenizerTest, aTextEndsAtItsFirstNul) {
    EXPECT_EQ((Words{"a", "b"}), split(string("a b\0c d", 7), " "));
    EXPECT_EQ(Words{}, split(string("\0a", 2), " "));
    EXPECT_EQ((Words{"a", "b"}), split("a,b", string(",\0b", 3)));
}

TEST(OrvoTokenizerTest, theTextMayBeAnElementOfTheResult) {
    Words words = {"x", "one two three"};
    OrvoTokenizer(words[1], " ", words);
    EXPECT_EQ((Words{"one", "two", "three"}), words);
    OrvoTokenizer("1two2", words[1], words);
    EXPECT_EQ((Words{"1", "2"}), words);
    OrvoTokenizer(words[1], words);
    EXPECT_EQ(Words{"2"}, words);
    words = {"say \"hello world\""};
    OrvoParseCommandLine(words[0], words);
    EXPECT_EQ((Words{"say", "hello world"}), words);
}

TEST(OrvoTokenizerTest, theBufferFormMarksTheEndOfEachPiece) {
    char buffer[] = ",,ab,,cd;ef";
    Words out = {"old"};
    OrvoTokenizer(buffer, sizeof buffer, ",;", out);

    EXPECT_EQ((Words{"ab", "cd", "ef"}), out);
    EXPECT_EQ(string(",,ab\0,cd\0ef", 11), string(buffer, 11));
}

// Words that strtok cuts from the text, which it changes as the buffer form must.
Words cutByStrtok(char* text, const char* delimiters) {
    Words words;
    for (const char* word = std::strtok(text, delimiters); word; word = std::strtok(nullptr, delimiters))
        words.emplace_back(word);
    return words;
}

TEST(OrvoTokenizerTest, everyShortTextIsCutAndChangedAsStrtokDoes) {
    const string letters = "a,;z";
    for (int number = 0; number < 4096; ++number) {
        string text;
        for (int rest = number; rest > 0; rest /= 4) text += letters[static_cast<std::size_t>(rest % 4)];
        string expected = text;
        const Words words = cutByStrtok(expected.data(), ";,");
        EXPECT_EQ(words, split(text, ";,")) << text;

        Words out;
        string buffer = text;
        OrvoTokenizer(buffer.data(), static_cast<unsigned>(buffer.size() + 1), ";,", out);
        EXPECT_EQ(words, out) << text;
        EXPECT_EQ(expected, buffer) << text;
    }
}

TEST(OrvoTokenizerTest, theLimitMayBeFarBeyondTheEnd) {
    char buffer[] = "ab,cd";
    Words out;
    OrvoTokenizer(buffer, 0xFFFFFFFFu, ",", out);
    EXPECT_EQ((Words{"ab", "cd"}), out);
    char block[] = "ab\0cd\0";
    OrvoTokenizer(block, 0xFFFFFFFFu, out);
    EXPECT_EQ((Words{"ab", "cd"}), out);
}

TEST(OrvoTokenizerTest, theBufferFormStaysWithinItsLimit) {
    Words out = {"old"};
    OrvoTokenizer(nullptr, 10, ",", out);
    EXPECT_EQ(Words{}, out);

    char buffer[] = "ab,cd,ef";
    OrvoTokenizer(buffer, 0, ",", out);
    EXPECT_EQ(Words{}, out);
    OrvoTokenizer(buffer, 5, ",", out);
    EXPECT_EQ((Words{"ab", "cd"}), out);
    EXPECT_EQ(',', buffer[5]);
}

TEST(OrvoTokenizerTest, noSplittingReadsAtOrPastTheLimit) {
    GuardedMemory memory(64);
    Words out;
    for (const string text : {"ab,cd", "ab,cd,", ",", "a"}) {
        char* const buffer = memory.last(text.size());
        std::memcpy(buffer, text.data(), text.size());
        OrvoTokenizer(buffer, static_cast<unsigned>(text.size()), ",", out);
        EXPECT_EQ(split(text, ","), out);

        std::memcpy(buffer, text.data(), text.size());
        OrvoTokenizer(buffer, static_cast<unsigned>(text.size()), out);
        EXPECT_EQ(Words{text}, out);
    }
    for (const string& block : {string("ab\0", 3), string("ab\0\0", 4), string("\0", 1)}) {
        char* const start = memory.last(block.size());
        std::memcpy(start, block.data(), block.size());
        OrvoTokenizer(start, static_cast<unsigned>(block.size()), out);
        EXPECT_EQ(block.size() > 1 ? Words{"ab"} : Words{}, out);
    }
    OrvoTokenizer(memory.last(0), 0, out);
    EXPECT_EQ(Words{}, out);
    OrvoTokenizer(memory.last(0), 0, ",", out);
    EXPECT_EQ(Words{}, out);
}

TEST(OrvoTokenizerTest, aBlockEndsAtAnEmptyString) {
    char block[] = "A=1\0B=2\0C=3\0\0D=4\0";
    const string before(block, sizeof block);
    Words out = {"old"};
    OrvoTokenizer(block, sizeof block, out);

    EXPECT_EQ((Words{"A=1", "B=2", "C=3"}), out);
    EXPECT_EQ(before, string(block, sizeof block));
}

TEST(OrvoTokenizerTest, aBlockEndsAtItsLimit) {
    char block[] = "ab\0cd\0ef\0";
    Words out;
    const Words expected[] = {{},          {"a"},        {"ab"},       {"ab"},
                              {"ab", "c"}, {"ab", "cd"}, {"ab", "cd"}, {"ab", "cd", "e"}};
    for (unsigned limit = 0; limit < 8; ++limit) {
        OrvoTokenizer(block, limit, out);
        EXPECT_EQ(expected[limit], out) << limit;
    }
    OrvoTokenizer(static_cast<char*>(nullptr), 8, out);
    EXPECT_EQ(Words{}, out);
}

TEST(OrvoTokenizerTest, aStringIsNeverTakenForABlock) {
    Words out = {"old"};
    OrvoTokenizer(string("ab\0cd\0\0", 7), out);
    EXPECT_EQ(Words{"ab"}, out);
    OrvoTokenizer(string("a b,c"), out);
    EXPECT_EQ(Words{"a b,c"}, out);
    OrvoTokenizer(string(), out);
    EXPECT_EQ(Words{}, out);
    OrvoTokenizer(string("\0a", 2), out);
    EXPECT_EQ(Words{}, out);
}

TEST(OrvoParseCommandLineTest, groupsWordsWithDoubleQuotes) {
    struct Case {
        const char* line;
        Words expected;
    };
    const Case cases[] = {
        {"prog \"my file.txt\" -x", {"prog", "my file.txt", "-x"}},
        {"run \"open end", {"run", "open end"}},
        {"run \"open  end ", {"run", "open  end "}},
        {"\"a b\"c d", {"a bc", "d"}},
        {"\"a b\"\"c d\"", {"a b\"c", "d\""}},
        {"\"a\"b\"c d\" e", {"ab\"c", "d\"", "e"}},
        {"a\"b c\" d", {"a\"b", "c\"", "d"}},
        {"a\"b", {"a\"b"}},
        {"  \"a\"   \"b\"  ", {"a", "b"}},
        {"\" a \" b", {" a ", "b"}},
        {"\"\" a", {"a"}},
        {"\"\"a b", {"a", "b"}},
        {"\"\"\"a b\"", {"a b"}},
        {"\"\"", {}},
        {"a \"", {"a"}},
        {"\"", {}},
        {"\"a\"\"", {"a\""}},
        {"\\\"a b\\\"", {"\\\"a", "b\\\""}},
        {"'a b' \"c d\"", {"'a", "b'", "c d"}},
        {"\"a\tb\" c\td", {"a\tb", "c\td"}},
    };
    for (const Case& c : cases) EXPECT_EQ(c.expected, parse(c.line)) << c.line;
}

// Cuts a line in place: the opening quote of a word is passed over, its closing one is taken out of the line.
Words cutInPlace(string line) {
    Words words;
    std::size_t start = 0;
    std::size_t position = 0;
    const auto endWord = [&] {
        if (position > start) words.push_back(line.substr(start, position - start));
    };
    while (position < line.size()) {
        if (line[position] == ' ') {
            endWord();
            start = ++position;
        } else if (line[position] == '"' && position == start) {
            position = line.find('"', ++start);
            if (position == string::npos)
                position = line.size();
            else
                line.erase(position, 1);
        } else {
            position = std::min(line.find(' ', position), line.size());
        }
    }
    endWord();
    return words;
}

TEST(OrvoParseCommandLineTest, everyShortLineIsCutByTheSameRules) {
    const string letters = "\" a'";
    for (int number = 0; number < 65536; ++number) {
        string line;
        for (int rest = number; rest > 0; rest /= 4) line += letters[static_cast<std::size_t>(rest % 4)];
        ASSERT_EQ(cutInPlace(line), parse(line)) << line;
        line += '"';
        ASSERT_EQ(cutInPlace(line), parse(line)) << line;
    }
}

TEST(OrvoParseCommandLineTest, endsAtTheFirstNulInsideQuotesToo) {
    EXPECT_EQ((Words{"a", "b c"}), parse(string("a \"b c\0d\" e", 11)));
    EXPECT_EQ((Words{"a", "b"}), parse(string("a \"b\"\0c d", 9)));
    EXPECT_EQ(Words{}, parse(string("\0\"a b\"", 6)));
}

TEST(OrvoParseCommandLineTest, splitsAtBlanksAlone) {
    EXPECT_EQ((Words{"a", "b"}), parse("  a   b "));
    EXPECT_EQ(Words{"a\tb"}, parse("a\tb"));
    EXPECT_EQ(Words{}, parse(""));
    EXPECT_EQ(Words{}, parse("   "));
    EXPECT_EQ((Words{"a", "b"}), parse(string("a b\0 \"c", 7)));
}

TEST(OrvoExtractFirstStringTest, cutsTheFirstWordOff) {
    struct Case {
        const char* text;
        const char* first;
        const char* rest;
    };
    const Case cases[] = {
        {"copy  a b", "copy", " a b"},
        {"copy\ta b", "copy", "a b"},
        {"copy", "copy", ""},
        {"copy ", "copy", ""},
        {"", "", ""},
        {" a", "", "a"},
        {"a\"b c\"", "a\"b", "c\""},
        {"\"my dir\" x", "my dir", " x"},
        {"\"my dir\"x", "my dir", "x"},
        {"\"my dir\"", "my dir", ""},
        {"\"\"", "", ""},
        {"\"\" x", "", " x"},
        {"\"open end", "open end", "open end"},
        {"\"", "", ""},
        {"a\nb", "a\nb", ""},
    };
    for (const Case& c : cases) {
        string rest = "old";
        EXPECT_EQ(c.first, OrvoExtractFirstString(c.text, rest)) << c.text;
        EXPECT_EQ(c.rest, rest) << c.text;
    }
}

TEST(OrvoExtractFirstStringTest, nulsAreOrdinaryCharacters) {
    string rest;
    EXPECT_EQ(string("a\0b", 3), OrvoExtractFirstString(string("a\0b c\0d", 7), rest));
    EXPECT_EQ(string("c\0d", 3), rest);
    EXPECT_EQ(string("a \0b", 4), OrvoExtractFirstString(string("\"a \0b\" c", 8), rest));
    EXPECT_EQ(" c", rest);
}

TEST(OrvoExtractFirstStringTest, theRestMayReplaceTheText) {
    string text = "\"a b\" c d";
    EXPECT_EQ("a b", OrvoExtractFirstString(text, text));
    EXPECT_EQ(" c d", text);
    EXPECT_EQ("", OrvoExtractFirstString(text, text));
    EXPECT_EQ("c", OrvoExtractFirstString(text, text));
    EXPECT_EQ("d", OrvoExtractFirstString(text, text));
    EXPECT_EQ("", text);
}

}  // namespace
}  // namespace OrvoSupport
