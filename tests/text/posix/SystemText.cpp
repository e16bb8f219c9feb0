// Linux half of SystemText.
#include "text/SystemText.h"

#include <sys/mman.h>
#include <unistd.h>

#include <new>

namespace testing_support {
namespace {

struct Range {
    unsigned char first, last;
};

// The well-formed byte sequences: a range for each byte.
struct Sequence {
    int length;
    Range bytes[4];
};

constexpr Sequence wellFormed[] = {
    {1, {{0x00, 0x7F}}},
    {2, {{0xC2, 0xDF}, {0x80, 0xBF}}},
    {3, {{0xE0, 0xE0}, {0xA0, 0xBF}, {0x80, 0xBF}}},
    {3, {{0xE1, 0xEC}, {0x80, 0xBF}, {0x80, 0xBF}}},
    {3, {{0xED, 0xED}, {0x80, 0x9F}, {0x80, 0xBF}}},
    {3, {{0xEE, 0xEF}, {0x80, 0xBF}, {0x80, 0xBF}}},
    {4, {{0xF0, 0xF0}, {0x90, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}}},
    {4, {{0xF1, 0xF3}, {0x80, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}}},
    {4, {{0xF4, 0xF4}, {0x80, 0x8F}, {0x80, 0xBF}, {0x80, 0xBF}}},
};

// How many bytes at `position` agree with the sequence.
int agreement(const Sequence& sequence, const std::string& text, std::size_t position) {
    int count = 0;
    while (count < sequence.length && position < text.size()) {
        const unsigned char byte = static_cast<unsigned char>(text[position++]);
        if (byte < sequence.bytes[count].first || byte > sequence.bytes[count].last) break;
        ++count;
    }
    return count;
}

wchar_t decode(const std::string& text, std::size_t position, int length) {
    static const int leadBits[] = {0x7F, 0x7F, 0x1F, 0x0F, 0x07};
    int value = static_cast<unsigned char>(text[position]) & leadBits[length];
    for (int i = 1; i < length; ++i)
        value =
            value * 64 + (static_cast<unsigned char>(text[position + static_cast<std::size_t>(i)]) & 0x3F);
    return static_cast<wchar_t>(value);
}

}  // namespace

std::wstring expectedFromUtf8(const std::string& text) {
    std::wstring wide;
    std::size_t position = 0;
    while (position < text.size()) {
        int longest = 1;  // a byte that starts nothing is a part of its own
        wchar_t character = 0xFFFD;
        for (const Sequence& sequence : wellFormed) {
            const int count = agreement(sequence, text, position);
            if (count == sequence.length) character = decode(text, position, count);
            if (count > longest) longest = count;
        }
        wide += character;
        position += static_cast<std::size_t>(longest);
    }
    return wide;
}

bool ansiCodePageIs1252() { return std::string(OSUPT_ANSI_CODE_PAGE) == "CP1252"; }

GuardedMemory::GuardedMemory(std::size_t size) {
    const std::size_t page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    const std::size_t usable = (size / page + 1) * page;
    void* block = ::mmap(nullptr, usable + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (block == MAP_FAILED) throw std::bad_alloc();
    m_start = static_cast<char*>(block);
    m_end = m_start + usable;
    if (::mprotect(m_end, page, PROT_NONE) != 0) throw std::bad_alloc();
}

GuardedMemory::~GuardedMemory() {
    const std::size_t page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    ::munmap(m_start, static_cast<std::size_t>(m_end - m_start) + page);
}

}  // namespace testing_support
