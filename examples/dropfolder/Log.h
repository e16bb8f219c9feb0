// How dropfolder writes to its log.
#ifndef DROPFOLDER_LOG_H
#define DROPFOLDER_LOG_H

#include <OrvoLogging.h>

#include <string>

namespace dropfolder {

using OrvoSupport::endrecord;

/// Begins a record: 1 start and end, 2 what went wrong, 3 what became of a file, 4 every step on the way. The
/// caller ends it with endrecord.
inline OrvoSupport::OrvoLogging& log(int level) {
    return OrvoSupport::OrvoLogging::getInstance() << OrvoSupport::setloglevel("dropfolder", level);
}

/// The text on one line, as a record has it: names of files may hold line ends and other control characters,
/// which become \x0a and the like.
inline std::string oneLine(const std::string& text) {
    const char* const digits = "0123456789abcdef";
    std::string line;
    for (const char c : text) {
        if (c == '\x7f' || (c >= '\0' && c < ' '))
            line.append("\\x").append(1, digits[c / 16]).append(1, digits[c % 16]);
        else
            line += c;
    }
    return line;
}

}  // namespace dropfolder

#endif
