// What fuzz targets have in common.
#ifndef FUZZ_FUZZ_H
#define FUZZ_FUZZ_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

/// Called by the fuzzer with every input; returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Ends the program, and with it the search, when the condition does not hold for the input.
#define REQUIRE(condition) \
    ((condition)           \
         ? void()          \
         : (std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition), std::abort()))

namespace fuzz {

/// An input taken apart from its front.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_next(data), m_end(data + size) {}

    bool atEnd() const { return m_next == m_end; }
    /// 0 at the end.
    unsigned byte() { return atEnd() ? 0 : *m_next++; }
    /// What stands in front of the next line feed, which is dropped, or all that is left.
    std::string line() {
        const std::uint8_t* const lineFeed = std::find(m_next, m_end, std::uint8_t('\n'));
        std::string text(m_next, lineFeed);
        m_next = lineFeed == m_end ? m_end : lineFeed + 1;
        return text;
    }
    /// As many bytes, or all that are left.
    std::string bytes(std::size_t count) {
        const std::uint8_t* const end = m_next + std::min(count, static_cast<std::size_t>(m_end - m_next));
        std::string text(m_next, end);
        m_next = end;
        return text;
    }
    std::string rest() {
        std::string text(m_next, m_end);
        m_next = m_end;
        return text;
    }

private:
    const std::uint8_t* m_next;
    const std::uint8_t* m_end;
};

}  // namespace fuzz

#endif
