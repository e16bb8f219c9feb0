// The lines of a property file, written in blocks.
#ifndef OSUPT_CONFIG_PROPERTY_WRITER_H
#define OSUPT_CONFIG_PROPERTY_WRITER_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace OrvoSupport {

/// Writes "key=value" lines as single-byte text.
///
/// Thread safety: none.
template <class StringType>
class PropertyWriter {
public:
    /// `file` stays the caller's.
    explicit PropertyWriter(std::FILE* file) : m_file(file) { m_block.reserve(2 * blockSize); }

    /// False once something could not be written.
    bool write(const StringType& key, const StringType& value) {
        append(key);
        m_block += '=';
        append(value);
        m_block += '\n';
        return m_block.size() < blockSize || flush();
    }

    /// Hands what is left to the system; not every fclose() tells that it could not.
    bool flush() {
        const bool written = std::fwrite(m_block.data(), 1, m_block.size(), m_file) == m_block.size();
        m_block.clear();
        return written && std::fflush(m_file) == 0;
    }

private:
    using Char = typename StringType::value_type;

    static constexpr std::size_t blockSize = 64 * 1024;

    void append(const StringType& text) {
        if constexpr (sizeof(Char) == 1) {
            m_block.append(text.data(), text.size());
        } else {
            for (const Char c : text)
                m_block += static_cast<std::uint32_t>(c) <= 255 ? static_cast<char>(c) : '?';
        }
    }

    std::FILE* m_file;
    std::string m_block;
};

}  // namespace OrvoSupport

#endif
