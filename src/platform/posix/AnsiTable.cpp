#include "platform/posix/AnsiTable.h"

#include <iconv.h>

#include <cstring>

#include "platform/posix/BestFit1252.h"

namespace OrvoSupport::platform {
namespace {

// The default needs no conversion module of the C library: it is Latin 1 but for these.
constexpr wchar_t cp1252From80To9F[] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

// The character of one byte; the byte's number when the converter has none.
wchar_t characterOf(iconv_t converter, unsigned char byte) {
    char in = static_cast<char>(byte);
    char* from = &in;
    std::size_t fromLeft = 1;
    wchar_t character = 0;
    char* to = reinterpret_cast<char*>(&character);
    std::size_t toLeft = sizeof character;
    ::iconv(converter, nullptr, nullptr, nullptr, nullptr);
    const bool converted = ::iconv(converter, &from, &fromLeft, &to, &toLeft) == 0 && toLeft == 0;
    return converted ? character : static_cast<wchar_t>(byte);
}

void readFromCLibrary(const char* codePage, wchar_t (&wide)[256]) {
    const iconv_t converter = ::iconv_open("WCHAR_T", codePage);
    if (converter == reinterpret_cast<iconv_t>(-1)) return;
    for (std::size_t byte = 0x80; byte < 256; ++byte)
        wide[byte] = characterOf(converter, static_cast<unsigned char>(byte));
    ::iconv_close(converter);
}

}  // namespace

AnsiTable::AnsiTable(const char* codePage) {
    for (std::size_t byte = 0; byte < 256; ++byte) m_wide[byte] = static_cast<wchar_t>(byte);
    std::memset(m_narrow, '?', sizeof m_narrow);
    if (std::strcmp(codePage, "CP1252") == 0) {
        std::memcpy(m_wide + 0x80, cp1252From80To9F, sizeof cp1252From80To9F);
        for (const BestFitRun& run : bestFit1252)
            std::memcpy(m_narrow + run.first, run.bytes, std::strlen(run.bytes));
    } else {
        readFromCLibrary(codePage, m_wide);
    }
    // From the top, so that of two bytes for one character the lower one is taken.
    for (std::size_t byte = 256; byte-- > 0;) {
        const std::size_t character = static_cast<std::size_t>(m_wide[byte]);
        if (character < narrowSize) m_narrow[character] = static_cast<char>(byte);
    }
}

const AnsiTable& AnsiTable::instance() {
    static const AnsiTable table(OSUPT_ANSI_CODE_PAGE);
    return table;
}

}  // namespace OrvoSupport::platform
