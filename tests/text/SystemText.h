// What the tests of conversions need from the system.
#ifndef TESTS_TEXT_SYSTEM_TEXT_H
#define TESTS_TEXT_SYSTEM_TEXT_H

#include <cstddef>
#include <string>

namespace testing_support {

/// What the system makes of UTF-8 text: its own answer where it has a call for that, otherwise the answer of
/// a decoder written from the table of well-formed byte sequences, one U+FFFD for each maximal ill-formed
/// part.
std::wstring expectedFromUtf8(const std::string& text);

/// Whether the ANSI code page is 1252, which the tables in the tests are made for.
bool ansiCodePageIs1252();

/// Memory whose last byte lies right before a page that can be neither read nor written.
class GuardedMemory {
public:
    explicit GuardedMemory(std::size_t size);
    ~GuardedMemory();
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    /// The last `size` bytes.
    char* last(std::size_t size) { return m_end - size; }

private:
    char* m_start;
    char* m_end;
};

}  // namespace testing_support

#endif
