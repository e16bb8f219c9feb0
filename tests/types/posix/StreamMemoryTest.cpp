// Streams that meet the end of memory, and what lengths make them ask for.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdint>
#include <cstdlib>
#include <new>

#include "support/ChildProcess.h"
#include "support/Sanitizers.h"
#include "types/StreamBytes.h"

using namespace OrvoSupport;

namespace {

std::size_t askedFor = 0;  // bytes, all requests together

OSUPT_CHILD(writesMoreThanThereIsMemory) {
    ::rlimit limit = {std::size_t{1} << 30, RLIM_INFINITY};
    if (::setrlimit(RLIMIT_AS, &limit) != 0) return 2;
    OrvoBufferStream stream(0xFFFFFFFFul);
    if (writeText(stream, "abc") != 0 || stream.size() != 0) return 3;
    stream = OrvoBufferStream(64);
    writeText(stream, "abc");
    readText(stream, 1);
    if (stream.write(nullptr, 0xC0000000u, 1) != 0 || contents(stream) != "bc") return 4;
    return writeText(stream, "de") == 2 && contents(stream) == "bcde" ? 0 : 5;
}

TEST(StreamMemoryTest, aWriteWithoutMemoryChangesNothing) {
    if (testing_support::anySanitizer) GTEST_SKIP() << "they need more address space than this leaves";
    testing_support::ChildProcess child("writesMoreThanThereIsMemory");
    EXPECT_EQ(0, child.wait());
}

TEST(StreamMemoryTest, aLengthWithoutTextAllocatesLittle) {
    for (const bool wide : {false, true}) {
        OrvoBufferStream stream;
        writeText(stream,
                  "\xFF\x7F"
                  "abcd");
        string text;
        wstring wideText;
        askedFor = 0;
        if (wide)
            stream >> wideText;
        else
            stream >> text;
        EXPECT_LE(askedFor, 4u + 64 * 1024);
    }
}

}  // namespace

// They serve the library as well as this program; a sanitizer wants them all or none.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    askedFor += size;
    return std::malloc(size);
}
void* operator new(std::size_t size) {
    if (void* block = ::operator new(size, std::nothrow)) return block;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return ::operator new(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
