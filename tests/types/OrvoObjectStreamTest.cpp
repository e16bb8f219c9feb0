#include "OrvoObjectStream.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "types/StreamBytes.h"
#include "types/VirtualSlots.h"

namespace {

using namespace OrvoSupport;
using testing_support::virtualSlot;

static_assert(std::has_virtual_destructor_v<OrvoObjectStream>);
static_assert(std::is_abstract_v<OrvoInputObjectStream> && std::is_abstract_v<OrvoOutputObjectStream>);
static_assert(std::is_base_of_v<OrvoObjectStream, OrvoInputObjectStream>);
static_assert(std::is_base_of_v<OrvoObjectStream, OrvoOutputObjectStream>);

/// Notes each transfer that it is asked for, and serves reads from `source`.
class Recorder : public OrvoInputObjectStream, public OrvoOutputObjectStream {
public:
    void reset() override { calls.push_back("reset"); }
    unsigned int write(const void* data, unsigned int elementSize, unsigned int count) override {
        note('w', elementSize, count);
        written.append(static_cast<const char*>(data), elementSize * count);
        return elementSize * count;
    }
    unsigned int read(void* data, unsigned int elementSize, unsigned int count) override {
        note('r', elementSize, count);
        const unsigned int size = peekAt(data, elementSize * count);
        source.erase(0, size);
        return size;
    }
    unsigned int peek(void* data, unsigned int elementSize, unsigned int count) override {
        note('p', elementSize, count);
        return peekAt(data, elementSize * count);
    }

    std::vector<std::string> calls;
    std::string written;
    std::string source;

private:
    void note(char what, unsigned int elementSize, unsigned int count) {
        calls.push_back(what + std::to_string(elementSize) + "x" + std::to_string(count));
    }
    unsigned int peekAt(void* data, unsigned int size) const {
        const std::string given = source.substr(0, size);
        std::memcpy(data, given.data(), given.size());
        return static_cast<unsigned int>(given.size());
    }
};

template <class T>
std::string written(const T& value) {
    Recorder stream;
    stream << value;
    return stream.written;
}

/// A stream that gives these bytes and then ends.
struct Source : OrvoBufferStream {
    explicit Source(const std::string& given) { writeText(*this, given); }
};

std::string length(int value) {
    const auto bits = static_cast<unsigned>(value);
    return bytes({bits & 0xFF, bits >> 8 & 0xFF});
}

const std::string units = bytes({'a', 0, 'b', 0});

TEST(OrvoObjectStreamTest, writesNumbersAsTheyLieInMemory) {
    EXPECT_EQ("A", written('A'));
    EXPECT_EQ(bytes({0xFF}), written(static_cast<char>(-1)));
    EXPECT_EQ(bytes({0xFE}), written(static_cast<unsigned char>(0xFE)));
    EXPECT_EQ(bytes({0xFE, 0xFF}), written(static_cast<short>(-2)));
    EXPECT_EQ(bytes({0x34, 0x12}), written(static_cast<unsigned short>(0x1234)));
    EXPECT_EQ(bytes({0xFE, 0xFF, 0xFF, 0xFF}), written(-2));
    EXPECT_EQ(bytes({0x78, 0x56, 0x34, 0x12}), written(0x12345678));
    EXPECT_EQ(bytes({0xEF, 0xBE, 0xAD, 0xDE}), written(0xDEADBEEFu));
    EXPECT_EQ(bytes({0xFE, 0xFF, 0xFF, 0xFF}), written(-2l));
    EXPECT_EQ(bytes({0xEF, 0xBE, 0xAD, 0xDE}), written(0xDEADBEEFul));
    EXPECT_EQ(bytes({0, 0, 0x80, 0x3F}), written(1.0f));
    EXPECT_EQ(bytes({0, 0, 0, 0, 0, 0, 0xF8, 0xBF}), written(-1.5));
}

TEST(OrvoObjectStreamTest, aLongKeepsItsLowThirtyTwoBits) {
    if (sizeof(long) == 4) GTEST_SKIP() << "it has no more";
    const auto value = static_cast<long>(0x1122334455667788);
    EXPECT_EQ(bytes({0x88, 0x77, 0x66, 0x55}), written(value));
    EXPECT_EQ(bytes({0x88, 0x77, 0x66, 0x55}), written(static_cast<unsigned long>(value)));
}

TEST(OrvoObjectStreamTest, makesOneTransferForANumber) {
    Recorder stream;
    stream << 'a' << static_cast<short>(1) << 1 << 1l << 1.0f << 1.0;
    EXPECT_THAT(stream.calls, testing::ElementsAre("w1x1", "w2x1", "w4x1", "w4x1", "w4x1", "w8x1"));
    stream.calls.clear();
    int number = 0;
    double real = 0;
    stream >> number >> real;
    EXPECT_THAT(stream.calls, testing::ElementsAre("r4x1", "r8x1"));
}

template <class T>
void expectReadBack(T value) {
    OrvoBufferStream stream;
    stream << value;
    T read = 77;
    stream >> read;
    EXPECT_EQ(value, read);
    EXPECT_EQ(0u, stream.size());
}

template <class T>
void expectExtremesReadBack() {
    expectReadBack(std::numeric_limits<T>::lowest());
    expectReadBack(std::numeric_limits<T>::max());
    expectReadBack(static_cast<T>(0));
    expectReadBack(static_cast<T>(1));
}

TEST(OrvoObjectStreamTest, readsNumbersBack) {
    expectExtremesReadBack<char>();
    expectExtremesReadBack<unsigned char>();
    expectExtremesReadBack<short>();
    expectExtremesReadBack<unsigned short>();
    expectExtremesReadBack<int>();
    expectExtremesReadBack<unsigned int>();
    expectExtremesReadBack<float>();
    expectExtremesReadBack<double>();
    expectReadBack(-5.25e300);
    for (const long value : {-2147483647l - 1, -1l, 0l, 2147483647l}) expectReadBack(value);
    for (const unsigned long value : {0ul, 2147483648ul, 4294967295ul}) expectReadBack(value);
}

// A copy through a floating point register would make another number of it.
TEST(OrvoObjectStreamTest, readsEveryPatternOfBytesIntoAFloatingPointNumber) {
    const std::string signallingFloat = bytes({1, 0, 0x80, 0x7F});
    const std::string signallingDouble = bytes({1, 0, 0, 0, 0, 0, 0xF0, 0x7F});
    Source stream(signallingFloat + signallingDouble);
    float number = 0;
    double real = 0;
    stream >> number >> real;
    EXPECT_EQ(0, std::memcmp(signallingFloat.data(), &number, sizeof number));
    EXPECT_EQ(0, std::memcmp(signallingDouble.data(), &real, sizeof real));
}

TEST(OrvoObjectStreamTest, hasItsOperationsInTheirOrder) {
    EXPECT_EQ(2u, virtualSlot(&OrvoInputObjectStream::reset));
    EXPECT_EQ(3u, virtualSlot(&OrvoInputObjectStream::read));
    EXPECT_EQ(4u, virtualSlot(&OrvoInputObjectStream::peek));
    EXPECT_EQ(2u, virtualSlot(&OrvoOutputObjectStream::reset));
    EXPECT_EQ(3u, virtualSlot(&OrvoOutputObjectStream::write));
}

TEST(OrvoObjectStreamTest, readsAFullLongFromFourBytes) {
    Source stream(bytes({0xFE, 0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0xFF, 0xFF}));
    long value = std::numeric_limits<long>::max();
    unsigned long unsignedValue = std::numeric_limits<unsigned long>::max();
    stream >> value >> unsignedValue;
    EXPECT_EQ(-2, value);
    EXPECT_EQ(4294967294ul, unsignedValue);
}

TEST(OrvoObjectStreamTest, aNumberBehindTheEndStaysAsItIs) {
    OrvoBufferStream stream;
    int number = -7;
    long longNumber = std::numeric_limits<long>::max();
    unsigned long unsignedNumber = std::numeric_limits<unsigned long>::max();
    double real = 1.5;
    stream >> number >> longNumber >> unsignedNumber >> real;
    EXPECT_EQ(-7, number);
    EXPECT_EQ(std::numeric_limits<long>::max(), longNumber);
    EXPECT_EQ(std::numeric_limits<unsigned long>::max(), unsignedNumber);
    EXPECT_EQ(1.5, real);
}

TEST(OrvoObjectStreamTest, aNumberAcrossTheEndTakesTheBytesThereAre) {
    Source stream(bytes({1, 2}));
    unsigned int number = 0xAABBCCDD;
    stream >> number;
    EXPECT_EQ(0xAABB0201u, number);
    EXPECT_EQ(0u, stream.size());
    Source again(bytes({1, 2}));
    long longNumber = 0x11223344;
    again >> longNumber;
    EXPECT_EQ(0x11220201, longNumber);
}

TEST(OrvoObjectStreamTest, operatorsReturnTheirStream) {
    OrvoBufferStream stream;
    OrvoObjectStream& base = stream;
    EXPECT_EQ(&base, &(stream << 1 << "a" << string("b") << wstring(L"c") << 2.0));
    int number = 0;
    EXPECT_EQ(&base, &(stream >> number));
    OrvoOutputObjectStream& output = stream;
    EXPECT_EQ(&output, &(output << 'a'));
}

TEST(OrvoObjectStreamTest, writesTheFirstFourCharactersOfNarrowText) {
    EXPECT_EQ(bytes({4, 0, 0, 0}) + "abcd", written("abcdef"));
    EXPECT_EQ(bytes({4, 0, 0, 0}) + "abcd", written("abcd"));
    EXPECT_EQ(bytes({3, 0, 0, 0}) + "abc", written("abc"));
    EXPECT_EQ(bytes({0, 0, 0, 0}), written(""));
    EXPECT_EQ(bytes({0, 0, 0, 0}), written(static_cast<const char*>(nullptr)));
    EXPECT_EQ(bytes({4, 0, 0, 0}) + "abcd", written(string("abcdef")));
    EXPECT_EQ(bytes({2, 0, 0, 0}) + "ab", written(string("ab")));
    EXPECT_EQ(bytes({1, 0, 0, 0}) + "a", written(string("a\0bc", 4)));
    EXPECT_EQ(bytes({0, 0, 0, 0}), written(string()));
    EXPECT_EQ(bytes({2, 0, 0, 0, 0xE4, 0xFF}), written("\xE4\xFF"));
}

TEST(OrvoObjectStreamTest, readsNoCharacterBehindTheFourth) {
    const std::vector<char> unterminated = {'a', 'b', 'c', 'd'};  // a fifth would be found by the sanitizers
    EXPECT_EQ(bytes({4, 0, 0, 0}) + "abcd", written(static_cast<const char*>(unterminated.data())));
}

TEST(OrvoObjectStreamTest, writesWideTextInFull) {
    EXPECT_EQ(bytes({2, 0, 0, 0, 'a', 0, 'b', 0}), written(wstring(L"ab")));
    EXPECT_EQ(bytes({0, 0, 0, 0}), written(wstring()));
    EXPECT_EQ(bytes({3, 0, 0, 0, 'a', 0, 0, 0, 'b', 0}), written(wstring(L"a\0b", 3)));
    EXPECT_EQ(bytes({2, 0, 0, 0, 0xE4, 0, 0xAC, 0x20}), written(wstring(L"\x00E4\x20AC")));
    const std::string long1000 = written(wstring(1000, L'x'));
    EXPECT_EQ(bytes({0xE8, 3, 0, 0, 'x', 0}), long1000.substr(0, 6));
    EXPECT_EQ(2004u, long1000.size());
}

TEST(OrvoObjectStreamTest, countsUnitsOfWideText) {
    EXPECT_EQ(bytes({3, 0, 0, 0, 0x3D, 0xD8, 0x00, 0xDE, 'x', 0}), written(wstring(L"\U0001F600x")));
    EXPECT_EQ(bytes({1, 0, 0, 0, 0x3D, 0xD8}), written(wstring(1, static_cast<wchar_t>(0xD83D))));
    if (sizeof(wchar_t) > 2) {
        EXPECT_EQ(bytes({2, 0, 0, 0, 0xFF, 0xDB, 0xFF, 0xDF}),
                  written(wstring(1, static_cast<wchar_t>(0x10FFFF))));
        EXPECT_EQ(bytes({1, 0, 0, 0, 0xFD, 0xFF}), written(wstring(1, static_cast<wchar_t>(0x110000))));
        EXPECT_EQ(bytes({1, 0, 0, 0, 0xFD, 0xFF}), written(wstring(1, static_cast<wchar_t>(-1))));
    }
}

TEST(OrvoObjectStreamTest, makesTwoTransfersForATextAndOneForNone) {
    Recorder stream;
    stream << "abcdef"
           << "" << wstring(L"abc") << wstring();
    EXPECT_THAT(stream.calls, testing::ElementsAre("w4x1", "w1x4", "w4x1", "w4x1", "w2x3", "w4x1"));
    stream.calls.clear();
    stream.source = length(3) + "abc" + length(0) + length(2) + units + length(0);
    string narrow;
    wstring wide;
    stream >> narrow >> narrow >> wide >> wide;
    EXPECT_THAT(stream.calls, testing::ElementsAre("r2x1", "r1x3", "r2x1", "r2x1", "r2x2", "r2x1"));
}

TEST(OrvoObjectStreamTest, readsABlockThatTheCallerFrees) {
    Source stream(length(3) + "abcX");
    char* text = nullptr;
    stream >> text;
    ASSERT_NE(nullptr, text);
    EXPECT_EQ(0, std::memcmp("abc", text, 4));
    std::free(text);
    EXPECT_EQ("X", contents(stream));
}

TEST(OrvoObjectStreamTest, aLengthOfNothingLeavesThePointer) {
    for (const int none : {0, -1, -32768}) {
        Source stream(length(none) + "abc");
        char own[] = "own";
        char* text = own;
        stream >> text;
        EXPECT_EQ(own, text);
        EXPECT_EQ("abc", contents(stream));
    }
}

TEST(OrvoObjectStreamTest, readsNarrowTextUpToItsFirstNul) {
    const struct {
        std::string bytes;
        const char* expected;
    } cases[] = {
        {length(3) + "abc", "abc"},
        {length(5) + std::string("ab\0cd", 5), "ab"},
        {length(1) + std::string(1, 0), ""},
        {length(0), ""},
        {length(-1), ""},
        {length(-32768), ""},
        {length(2) + "\xE4\xFF", "\xE4\xFF"},
    };
    for (const auto& c : cases) {
        Source stream(c.bytes + "Z");
        string text = "before";
        stream >> text;
        EXPECT_EQ(c.expected, text);
        EXPECT_EQ("Z", contents(stream)) << "all characters are consumed";
    }
}

TEST(OrvoObjectStreamTest, readsWideTextUpToItsFirstNul) {
    const struct {
        std::string bytes;
        wstring expected;
    } cases[] = {
        {length(2) + units, L"ab"},
        {length(3) + bytes({'a', 0, 0, 0, 'b', 0}), L"a"},
        {length(0), L""},
        {length(-1), L""},
        {length(2) + bytes({0x3D, 0xD8, 0x00, 0xDE}), L"\U0001F600"},
        {length(2) + bytes({0x00, 0xDE, 0x3D, 0xD8}),
         {static_cast<wchar_t>(0xDE00), static_cast<wchar_t>(0xD83D)}},
    };
    for (const auto& c : cases) {
        Source stream(c.bytes + "Z");
        wstring text = L"before";
        stream >> text;
        EXPECT_EQ(c.expected, text);
        EXPECT_EQ("Z", contents(stream));
    }
}

TEST(OrvoObjectStreamTest, readsTheLongestText) {
    Source narrow(length(32767) + std::string(32767, 'x'));
    string text;
    narrow >> text;
    EXPECT_EQ(string(32767, 'x'), text);
    OrvoBufferStream wide;
    writeText(wide, length(32767));
    for (int i = 0; i < 32767; ++i) wide << static_cast<short>(i == 511 ? 0xD83D : i == 512 ? 0xDE00 : 'y');
    wstring wideText;
    wide >> wideText;
    EXPECT_EQ(wstring(511, L'y') + L"\U0001F600" + wstring(32767 - 513, L'y'), wideText);
}

TEST(OrvoObjectStreamTest, aTextIsWhatWasThereWhenTheStreamEndsWithinIt) {
    Source narrow(length(32767) + "abc");
    string text;
    narrow >> text;
    EXPECT_EQ("abc", text);
    Source wide(length(32767) + bytes({'a', 0, 'b', 0, 'c'}));
    wstring wideText;
    wide >> wideText;
    EXPECT_EQ(L"ab", wideText);
    EXPECT_EQ(0u, wide.size());
    Source raw(length(9) + "abc");
    char* block = nullptr;
    raw >> block;
    EXPECT_STREQ("abc", block);
    std::free(block);
}

TEST(OrvoObjectStreamTest, atTheEndNothingChanges) {
    for (const char* given : {"", "\x01"}) {
        string text = "before";
        wstring wideText = L"before";
        char own[] = "own";
        char* pointer = own;
        Source(given) >> text;
        Source(given) >> wideText;
        Source(given) >> pointer;
        EXPECT_EQ("before", text);
        EXPECT_EQ(L"before", wideText);
        EXPECT_EQ(own, pointer);
    }
}

// Writers put a length of four bytes, readers take two.
TEST(OrvoObjectStreamTest, textThatWasWrittenHereIsReadWithTheRestOfItsLength) {
    OrvoBufferStream stream;
    stream << "abc";
    string text = "before";
    stream >> text;
    EXPECT_EQ("", text);
    EXPECT_EQ("bc", contents(stream));

    OrvoBufferStream wide;
    wide << wstring(L"abc");
    wstring wideText = L"before";
    wide >> wideText;
    EXPECT_EQ(L"", wideText);
    EXPECT_EQ(bytes({'c', 0}), contents(wide));
}

}  // namespace
