// The single-byte code page that stands for the system's ANSI code page, which Linux does not have.
#ifndef OSUPT_PLATFORM_POSIX_ANSI_TABLE_H
#define OSUPT_PLATFORM_POSIX_ANSI_TABLE_H

#include <cstddef>

namespace OrvoSupport::platform {

/// Both directions of a code page. Bytes that it does
/// not define keep their number, all of them if the C library does not know its name or it is no single-byte
/// one.
///
/// Thread safety: any method may be called from any thread.
class AnsiTable {
public:
    explicit AnsiTable(const char* codePage);

    /// The code page that the library was built for.
    static const AnsiTable& instance();

    wchar_t widen(char c) const { return m_wide[static_cast<unsigned char>(c)]; }

    /// `?` for a character that has neither a byte nor one that stands in for it.
    char narrow(wchar_t c) const {
        const std::size_t index = static_cast<std::size_t>(c);
        return index < narrowSize ? m_narrow[index] : '?';
    }

private:
    static constexpr std::size_t narrowSize = 0x10000;
    wchar_t m_wide[256];
    char m_narrow[narrowSize];
};

}  // namespace OrvoSupport::platform

#endif
