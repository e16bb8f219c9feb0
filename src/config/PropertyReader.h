// The lines of a property file, read in blocks.
#ifndef OSUPT_CONFIG_PROPERTY_READER_H
#define OSUPT_CONFIG_PROPERTY_READER_H

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace OrvoSupport {

/// Splits single-byte text or UTF-16LE with byte-order mark into lines and turns them into characters of the
/// store. What follows the value in a line longer than a block is skipped, so that the memory used depends on
/// keys and values and never on the file.
///
/// Thread safety: none.
template <class StringType>
class PropertyReader {
public:
    /// `file` stays the caller's.
    PropertyReader(std::FILE* file, char separator) : m_file(file), m_separator(separator) {}

    /// Reads the beginning and finds out about the encoding. False if the file cannot be read at all.
    bool start() {
        if (!refill()) return !failed();
        m_isUtf16 = m_end - m_next >= 2 && m_next[0] == 0xFF && m_next[1] == 0xFE;
        if (m_isUtf16) m_next += 2;
        return true;
    }

    /// Reads the next line, without its end; false at the end of the file. A single-byte line keeps the
    /// carriage return in front of its line feed.
    bool next(StringType& line) {
        line.clear();
        m_lookedAt = 0;
        m_state = LineState::inKey;
        return m_isUtf16 ? nextUnits(line) : nextBytes(line);
    }

    /// True when an error and not the end of the file has ended reading.
    bool failed() const { return std::ferror(m_file) != 0; }

private:
    using Char = typename StringType::value_type;

    // Where a line that has not ended yet stands.
    enum class LineState { inKey, inValue, inValueToTheEnd, done };

    static constexpr std::size_t blockSize = 64 * 1024;  // even: no unit is cut but the file's last one

    bool refill() {
        const std::size_t count = std::fread(m_block.data(), 1, m_block.size(), m_file);
        m_next = m_block.data();
        m_end = m_next + count;
        return count > 0;
    }

    bool nextBytes(StringType& line) {
        bool any = false;
        while (m_next != m_end || refill()) {
            any = true;
            const auto size = static_cast<std::size_t>(m_end - m_next);
            const auto* lineFeed = static_cast<const unsigned char*>(std::memchr(m_next, '\n', size));
            appendBytes(line, m_next, lineFeed ? lineFeed : m_end);
            m_next = lineFeed ? lineFeed + 1 : m_end;
            if (lineFeed) return true;
            lookForEnd(line);
        }
        return any;
    }

    // A file that ends in the middle of a unit ends before it.
    bool nextUnits(StringType& line) {
        bool any = false;
        bool afterReturn = false;
        while (m_end - m_next >= 2 || (refill() && m_end - m_next >= 2)) {
            any = true;
            for (; m_end - m_next >= 2; m_next += 2) {
                const unsigned unit = m_next[0] | static_cast<unsigned>(m_next[1]) << 8;
                if (unit == '\n') {
                    m_next += 2;
                    if (afterReturn && m_state != LineState::done) line.pop_back();
                    return true;
                }
                afterReturn = unit == '\r';
                if (m_state != LineState::done) appendUnit(line, unit);
            }
            lookForEnd(line);
        }
        return any;
    }

    void appendBytes(StringType& line, const unsigned char* first, const unsigned char* last) {
        if (m_state == LineState::done) return;
        if constexpr (sizeof(Char) == 1) {
            line.append(reinterpret_cast<const Char*>(first), static_cast<std::size_t>(last - first));
        } else {
            const std::size_t length = line.size();
            line.resize(length + static_cast<std::size_t>(last - first));
            std::transform(first, last, &line[length], [](unsigned char c) { return static_cast<Char>(c); });
        }
    }

    static void appendUnit(StringType& line, unsigned unit) {
        if constexpr (sizeof(Char) == 4) {
            const bool isLowHalf = unit >= 0xDC00 && unit <= 0xDFFF;
            if (isLowHalf && !line.empty() && line.back() >= 0xD800 && line.back() <= 0xDBFF) {
                const auto high = static_cast<unsigned>(line.back()) - 0xD800;
                line.back() = static_cast<Char>(0x10000 + (high << 10) + (unit - 0xDC00));
                return;
            }
        }
        // A narrow store keeps the low byte.
        line.push_back(static_cast<Char>(sizeof(Char) == 1 ? unit & 0xFF : unit));
    }

    // Decides whether the rest of a long line can still matter. Looks at each character once.
    void lookForEnd(const StringType& line) {
        if (line.empty() || m_state == LineState::done) return;
        if (line[0] == Char('#')) m_state = LineState::done;
        if (m_state == LineState::inKey) {
            const std::size_t separator = find(line, static_cast<unsigned char>(m_separator));
            if (find(line, '\r') < separator)
                m_state = LineState::inValueToTheEnd;
            else if (separator == 0)
                m_state = LineState::done;
            else if (separator != StringType::npos)
                m_state = LineState::inValue;
        }
        if (m_state == LineState::inValue && find(line, '\r') != StringType::npos) m_state = LineState::done;
        m_lookedAt = line.size();
    }

    std::size_t find(const StringType& line, unsigned character) const {
        const Char* first = line.data() + m_lookedAt;
        const Char* found =
            std::char_traits<Char>::find(first, line.size() - m_lookedAt, static_cast<Char>(character));
        return found ? static_cast<std::size_t>(found - line.data()) : StringType::npos;
    }

    std::FILE* m_file;
    char m_separator;
    bool m_isUtf16 = false;
    std::vector<unsigned char> m_block = std::vector<unsigned char>(blockSize);
    const unsigned char* m_next = nullptr;
    const unsigned char* m_end = nullptr;
    std::size_t m_lookedAt = 0;
    LineState m_state = LineState::inKey;
};

}  // namespace OrvoSupport

#endif
