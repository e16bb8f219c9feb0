#include "OrvoBufferStream.h"

#include <gmock/gmock.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <random>
#include <thread>
#include <type_traits>

#include "types/StreamBytes.h"

namespace {

using namespace OrvoSupport;

static_assert(std::is_base_of_v<OrvoInputObjectStream, OrvoBufferStream>);
static_assert(std::is_base_of_v<OrvoOutputObjectStream, OrvoBufferStream>);
static_assert(std::is_convertible_v<OrvoBufferStream&, OrvoObjectStream&>, "it is one stream, not two");

constexpr unsigned int most = std::numeric_limits<unsigned int>::max();

/// Header and data as buffer() gives them.
std::string block(const OrvoBufferStream& stream) {
    const unsigned char* start = stream.buffer();
    return {start, start + 4 + stream.size()};
}

TEST(OrvoBufferStreamTest, isEmptyAtFirst) {
    OrvoBufferStream stream;
    char byte = 'x';
    EXPECT_EQ(0u, stream.size());
    EXPECT_EQ(0u, stream.read(&byte, 1, 1));
    EXPECT_EQ(0u, stream.peek(&byte, 1, 1));
    EXPECT_EQ('x', byte);
}

TEST(OrvoBufferStreamTest, givesBackWhatWasWrittenInOrder) {
    OrvoBufferStream stream;
    EXPECT_EQ(3u, writeText(stream, "abc"));
    EXPECT_EQ(2u, writeText(stream, "de"));
    EXPECT_EQ(5u, stream.size());
    EXPECT_EQ("abcd", readText(stream, 4));
    EXPECT_EQ(1u, stream.size());
    EXPECT_EQ("e", readText(stream, 4));
}

TEST(OrvoBufferStreamTest, multipliesElementSizeAndCount) {
    OrvoBufferStream stream;
    EXPECT_EQ(6u, stream.write("abcdef", 2, 3));
    char got[7] = {};
    EXPECT_EQ(4u, stream.peek(got, 4, 1));
    EXPECT_STREQ("abcd", got);
    EXPECT_EQ(6u, stream.read(got, 3, 2));
    EXPECT_STREQ("abcdef", got);
}

TEST(OrvoBufferStreamTest, readsNoMoreThanThereIsAndThenNothing) {
    OrvoBufferStream stream;
    writeText(stream, "abc");
    char got[9] = "........";
    EXPECT_EQ(3u, stream.read(got, 4, 2));
    EXPECT_STREQ("abc.....", got);
    EXPECT_EQ(0u, stream.read(got, 4, 2));
}

TEST(OrvoBufferStreamTest, splitsAnElementWhereTheStreamEnds) {
    OrvoBufferStream stream;
    writeText(stream, "abcde");
    std::uint16_t got[3] = {};
    EXPECT_EQ(5u, stream.read(got, 2, 3));
}

TEST(OrvoBufferStreamTest, peekLeavesTheBytes) {
    OrvoBufferStream stream;
    writeText(stream, "abc");
    for (int i = 0; i < 2; ++i) {
        char got[4] = {};
        EXPECT_EQ(2u, stream.peek(got, 1, 2));
        EXPECT_STREQ("ab", got);
        EXPECT_EQ(3u, stream.size());
    }
}

TEST(OrvoBufferStreamTest, aTransferOfNothingMovesNothing) {
    OrvoBufferStream stream;
    errno = 0;
    EXPECT_EQ(0u, stream.write("abc", 0, 3));
    EXPECT_EQ(0u, stream.write(nullptr, 3, 0));
    writeText(stream, "abc");
    EXPECT_EQ(0u, stream.read(nullptr, 0, 3));
    EXPECT_EQ(0u, stream.peek(nullptr, 3, 0));
    EXPECT_EQ(0, errno);
    EXPECT_EQ("abc", contents(stream));
}

TEST(OrvoBufferStreamTest, aProductBeyondThirtyTwoBitsMovesNothing) {
    OrvoBufferStream stream;
    writeText(stream, "abc");
    char byte = 'x';
    const struct {
        unsigned int elementSize, count;
    } cases[] = {{0x10000, 0x10000}, {most, 2}, {most, most}, {0x80000000u, 2}, {3, 0x55555556u}};
    for (const auto& c : cases) {
        EXPECT_EQ(0u, stream.write(&byte, c.elementSize, c.count));
        EXPECT_EQ(0u, stream.read(&byte, c.elementSize, c.count));
        EXPECT_EQ(0u, stream.peek(&byte, c.elementSize, c.count));
    }
    EXPECT_EQ('x', byte);
    EXPECT_EQ("abc", contents(stream));
}

TEST(OrvoBufferStreamTest, aResultBeyondThirtyTwoBitsMovesNothing) {
    OrvoBufferStream stream;
    EXPECT_EQ(0u, stream.write(nullptr, most, 1));
    EXPECT_EQ(0u, stream.write(nullptr, 1, most - 3));
    EXPECT_EQ(0u, stream.size());
    EXPECT_EQ(3u, writeText(stream, "abc"));
}

TEST(OrvoBufferStreamTest, aReadOfAsMuchAsThirtyTwoBitsHoldTakesAll) {
    OrvoBufferStream stream;
    writeText(stream, "abc");
    char got[4] = {};
    EXPECT_EQ(3u, stream.read(got, most, 1));
    EXPECT_STREQ("abc", got);
}

TEST(OrvoBufferStreamTest, writesZerosForNullAndSaysSo) {
    OrvoBufferStream stream;
    writeText(stream, "a");
    errno = 0;
    EXPECT_EQ(2u, stream.write(nullptr, 2, 1));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ(bytes({'a', 0, 0}), contents(stream));
}

TEST(OrvoBufferStreamTest, readingToNullConsumesAndSaysSo) {
    OrvoBufferStream stream;
    writeText(stream, "abcd");
    errno = 0;
    EXPECT_EQ(3u, stream.peek(nullptr, 1, 3));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ(4u, stream.size());
    errno = 0;
    EXPECT_EQ(3u, stream.read(nullptr, 1, 3));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ("d", contents(stream));
}

TEST(OrvoBufferStreamTest, readingToNullFromNothingIsNoError) {
    OrvoBufferStream stream;
    errno = 0;
    EXPECT_EQ(0u, stream.read(nullptr, 1, 3));
    EXPECT_EQ(0, errno);
}

TEST(OrvoBufferStreamTest, resetDiscardsAndKeepsTheBlock) {
    OrvoBufferStream stream;
    writeText(stream, "abcdef");
    readText(stream, 2);
    const unsigned char* before = stream.buffer();
    stream.reset();
    EXPECT_EQ(0u, stream.size());
    EXPECT_EQ("", readText(stream, 4));
    EXPECT_EQ(before, stream.buffer());
    writeText(stream, "xy");
    EXPECT_EQ("xy", contents(stream));
    EXPECT_EQ(before, stream.buffer());
}

TEST(OrvoBufferStreamTest, resetWorksThroughBothBases) {
    OrvoBufferStream stream;
    writeText(stream, "ab");
    static_cast<OrvoInputObjectStream&>(stream).reset();
    EXPECT_EQ(0u, stream.size());
    writeText(stream, "ab");
    static_cast<OrvoOutputObjectStream&>(stream).reset();
    EXPECT_EQ(0u, stream.size());
}

TEST(OrvoBufferStreamTest, theBlockIsALengthAndTheData) {
    OrvoBufferStream stream;
    writeText(stream, "0123456789");
    EXPECT_EQ(bytes({10, 0, 0, 0}) + "0123456789", block(stream));
    const OrvoBufferStream& constant = stream;
    EXPECT_EQ(stream.buffer(), constant.buffer());
}

TEST(OrvoBufferStreamTest, theBlockBeginsWithTheFirstUnreadByte) {
    OrvoBufferStream stream;
    writeText(stream, "0123456789");
    const unsigned char* const before = stream.buffer();
    readText(stream, 3);
    EXPECT_EQ(bytes({7, 0, 0, 0}) + "3456789", block(stream));
    EXPECT_EQ(before, stream.buffer());
    writeText(stream, "ab");
    readText(stream, 1);
    EXPECT_EQ(bytes({8, 0, 0, 0}) + "456789ab", block(stream));
    readText(stream, 8);
    EXPECT_EQ(bytes({0, 0, 0, 0}), block(stream));
}

TEST(OrvoBufferStreamTest, aStreamWithoutBlockGivesAHeaderOfZero) {
    OrvoBufferStream stream;
    EXPECT_EQ(bytes({0, 0, 0, 0}), block(stream));
    OrvoBufferStream copy(stream);
    EXPECT_EQ(bytes({0, 0, 0, 0}), block(copy));
    writeText(stream, "abc");
    EXPECT_EQ(bytes({3, 0, 0, 0}) + "abc", block(stream));
}

TEST(OrvoBufferStreamTest, isRebuiltFromABlock) {
    OrvoBufferStream stream;
    writeText(stream, "0123456789");
    OrvoBufferStream rebuilt(stream.buffer(), 14);
    EXPECT_EQ(10u, rebuilt.size());
    EXPECT_EQ("0123456789", contents(rebuilt));
    EXPECT_EQ(block(stream), block(rebuilt));
    EXPECT_EQ(0, rebuilt.buffer()[14]) << "the byte behind the block";
    EXPECT_EQ("0123456789", contents(stream)) << "the bytes are copied";
}

TEST(OrvoBufferStreamTest, goesByTheLengthAndNotByTheHeader) {
    char noHeader[] = "????abc";
    OrvoBufferStream rebuilt(noHeader, 7);
    EXPECT_EQ("abc", contents(rebuilt));
    EXPECT_EQ(bytes({3, 0, 0, 0}) + "abc", block(rebuilt));
}

TEST(OrvoBufferStreamTest, fewerBytesThanAHeaderGiveAnEmptyStream) {
    for (unsigned int length = 0; length <= 4; ++length) {
        OrvoBufferStream rebuilt("\x09\x09\x09\x09", length);
        EXPECT_EQ(0u, rebuilt.size());
        OrvoBufferStream copy(rebuilt);
        EXPECT_EQ(bytes({0, 0, 0, 0}), block(rebuilt));
        EXPECT_EQ(bytes({0, 0, 0, 0}), block(copy));
        for (OrvoBufferStream* stream : {&rebuilt, &copy}) {
            EXPECT_EQ(7u, writeText(*stream, "abcdefg"));
            EXPECT_EQ(bytes({7, 0, 0, 0}) + "abcdefg", block(*stream));
        }
    }
}

TEST(OrvoBufferStreamTest, isRebuiltFromNullAsZeros) {
    for (const unsigned int length : {0u, 3u, 4u, 7u}) {
        errno = 0;
        OrvoBufferStream rebuilt(nullptr, length);
        EXPECT_EQ(EINVAL, errno);
        EXPECT_EQ(length > 4 ? std::string(length - 4, '\0') : "", contents(rebuilt));
    }
}

TEST(OrvoBufferStreamTest, aBlockLargerThanMemoryCannotBeMade) {
    if (sizeof(void*) > 4) GTEST_SKIP() << "there is room for 4 GB";
    EXPECT_THROW(OrvoBufferStream(nullptr, most), std::bad_alloc);
}

TEST(OrvoBufferStreamTest, aWriteWithoutMemoryChangesNothing) {
    if (sizeof(void*) > 4) GTEST_SKIP() << "there is room for 4 GB";
    OrvoBufferStream stream(most);
    EXPECT_EQ(0u, writeText(stream, "abc"));
    EXPECT_EQ(0u, stream.size());
    OrvoBufferStream filled("????abc", 7);
    readText(filled, 1);
    EXPECT_EQ(0u, filled.write(nullptr, 0xC0000000u, 1));
    EXPECT_EQ("bc", contents(filled));
    EXPECT_EQ(2u, writeText(filled, "de"));
    EXPECT_EQ("bcde", contents(filled));
}

TEST(OrvoBufferStreamTest, hasRoomForHeaderAndDataAtEveryIncrement) {
    for (const unsigned long increment : {0ul, 1ul, 2ul, 3ul, 4ul, 5ul, 7ul, 512ul, 4096ul})
        for (const unsigned int first : {0u, 1u, 3u, 4u, 5u, 508u, 509u, 511u, 512u, 513u}) {
            OrvoBufferStream stream(increment);
            EXPECT_EQ(first, writeText(stream, std::string(first, 'a')));
            EXPECT_EQ(1u, writeText(stream, "b"));
            EXPECT_EQ(std::string(first, 'a') + 'b', contents(stream));
            EXPECT_EQ(first + 5, block(stream).size());
        }
}

TEST(OrvoBufferStreamTest, theByteBehindACopyIsZero) {
    OrvoBufferStream stream;
    writeText(stream, "a");  // a block of 512
    EXPECT_EQ(0, OrvoBufferStream(stream).buffer()[512]);
    OrvoBufferStream larger;
    writeText(larger, std::string(512, 'a'));  // a whole increment more
    EXPECT_EQ(0, OrvoBufferStream(larger).buffer()[1024]);
}

TEST(OrvoBufferStreamTest, copiesAreIndependent) {
    OrvoBufferStream stream;
    writeText(stream, "abcdef");
    readText(stream, 2);
    OrvoBufferStream copy(stream);
    EXPECT_EQ("cdef", contents(copy));
    readText(copy, 1);
    writeText(copy, "x");
    stream.reset();
    writeText(stream, "y");
    EXPECT_EQ("defx", contents(copy));
    EXPECT_EQ("y", contents(stream));
}

TEST(OrvoBufferStreamTest, assignsAndKeepsItselfWhenAssignedToItself) {
    OrvoBufferStream stream;
    OrvoBufferStream other(16);
    writeText(stream, "abcdef");
    readText(stream, 2);
    writeText(other, "123");
    readText(other, 1);
    other = stream;
    EXPECT_EQ("cdef", contents(other));
    EXPECT_NE(stream.buffer(), other.buffer());
    OrvoBufferStream& same = stream;
    stream = same;
    EXPECT_EQ("cdef", contents(stream));
    stream = OrvoBufferStream();
    EXPECT_EQ("", contents(stream));
    EXPECT_EQ(bytes({0, 0, 0, 0}), block(stream));
    EXPECT_EQ("cdef", contents(other));
}

// A copy shares no lock: it can be used while another thread is in the middle of the original.
TEST(OrvoBufferStreamTest, copiesAreMadeWhileOthersUseTheStream) {
    OrvoBufferStream stream;
    stream << 1;
    std::thread user([&] {
        for (int i = 0; i < 5000; ++i) {
            stream << i;
            int value = 0;
            stream >> value;
        }
    });
    OrvoBufferStream assigned;
    for (int i = 0; i < 500; ++i) {
        const OrvoBufferStream copy(stream);
        EXPECT_EQ(0u, copy.size() % 4);
        assigned = stream;
        EXPECT_EQ(0u, assigned.size() % 4);
    }
    user.join();
}

TEST(OrvoBufferStreamTest, oneThreadFillsWhatAnotherDrains) {
    OrvoBufferStream stream;
    const unsigned int total = 20'000;
    std::thread writer([&] {
        for (unsigned int i = 0; i < total; ++i) stream << i;
    });
    for (unsigned int i = 0; i < total;) {
        unsigned int value = 0;
        unsigned int peeked = 0;
        if (stream.size() < sizeof value) {
            std::this_thread::yield();
            continue;
        }
        ASSERT_EQ(sizeof peeked, stream.peek(&peeked, sizeof peeked, 1));
        ASSERT_EQ(sizeof value, stream.read(&value, sizeof value, 1));
        ASSERT_EQ(i, value);
        ASSERT_EQ(i, peeked);
        ++i;
    }
    writer.join();
    EXPECT_EQ(0u, stream.size());
}

TEST(OrvoBufferStreamTest, aResetDuringTransfersDoesNoHarm) {
    OrvoBufferStream stream(16);
    std::thread writer([&] {
        for (int i = 0; i < 20'000; ++i) stream << i;
    });
    std::thread reader([&] {
        for (int i = 0; i < 20'000; ++i) {
            int value = 0;
            stream >> value;
        }
    });
    for (int i = 0; i < 20'000; ++i) stream.reset();
    writer.join();
    reader.join();
    EXPECT_LE(stream.size(), 80'000u);
    stream.reset();
    writeText(stream, "abc");
    EXPECT_EQ("abc", contents(stream));
}

TEST(OrvoBufferStreamTest, behavesLikeAQueueUnderAnyMixOfOperations) {
    for (unsigned seed = 0; seed < 50; ++seed) {
        std::mt19937 random(seed);
        OrvoBufferStream stream(random() % 40);
        std::string model;
        for (int step = 0; step < 400; ++step) {
            const auto count = static_cast<unsigned int>(random() % 60);
            switch (random() % 6) {
                case 0:
                case 1: {
                    const std::string text(count, static_cast<char>('a' + step % 26));
                    ASSERT_EQ(count, writeText(stream, text));
                    model += text;
                    break;
                }
                case 2:
                case 3:
                    ASSERT_EQ(model.substr(0, count), readText(stream, count));
                    model.erase(0, count);
                    break;
                case 4: ASSERT_EQ(model, block(stream).substr(4)); break;
                default:
                    if (count < 2) {
                        stream.reset();
                        model.clear();
                    } else if (count < 20) {
                        stream = OrvoBufferStream(stream);
                    } else if (count < 30) {
                        stream = OrvoBufferStream(stream.buffer(), static_cast<unsigned>(stream.size() + 4));
                    }
            }
            ASSERT_EQ(model.size(), stream.size());
            ASSERT_EQ(model, contents(stream));
        }
    }
}

// With the rest moved at each read this would move over a hundred gigabytes.
TEST(OrvoBufferStreamTest, drainsALongStreamInSmallPieces) {
    using Piece = std::array<std::uint32_t, 256>;
    const std::uint32_t pieces = 16'000;
    OrvoBufferStream stream(1 << 20);
    Piece piece;
    for (std::uint32_t i = 0; i < pieces; ++i) {
        piece.fill(i);
        ASSERT_EQ(1024u, stream.write(piece.data(), 4, 256));
    }
    for (std::uint32_t i = 0; i < pieces; ++i) {
        ASSERT_EQ(1024u, stream.read(piece.data(), 4, 256));
        ASSERT_EQ(i, piece.front());
        ASSERT_EQ(i, piece.back());
        if (i % 4000 != 0) continue;
        const std::uint32_t next = i + 1;
        ASSERT_EQ(0, std::memcmp(stream.buffer() + 4, &next, 4));
    }
    EXPECT_EQ(0u, stream.size());
}

// With the rest moved at each write this would move a thousand gigabytes.
TEST(OrvoBufferStreamTest, passesDataThroughALongStreamInSmallPieces) {
    using Piece = std::array<std::uint32_t, 256>;
    const std::uint32_t pieces = 16'000;
    OrvoBufferStream stream(sizeof(Piece) * pieces * 4 + 4);  // there is no room for one more
    const auto write = [&](std::uint32_t number) {
        Piece piece;
        piece.fill(number);
        return stream.write(piece.data(), 4, 256);
    };
    for (std::uint32_t i = 0; i < pieces * 4; ++i) ASSERT_EQ(1024u, write(i));
    for (std::uint32_t i = 0; i < pieces; ++i) {
        Piece piece;
        ASSERT_EQ(1024u, stream.read(piece.data(), 4, 256));
        ASSERT_EQ(i, piece.front());
        ASSERT_EQ(i, piece.back());
        ASSERT_EQ(1024u, write(pieces * 4 + i));
    }
    EXPECT_EQ(sizeof(Piece) * pieces * 4, stream.size());
    EXPECT_EQ(0, std::memcmp(stream.buffer() + 4, &pieces, 4));
}

}  // namespace
