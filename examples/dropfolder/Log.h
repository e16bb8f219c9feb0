// How dropfolder writes to its log.
#ifndef DROPFOLDER_LOG_H
#define DROPFOLDER_LOG_H

#include <OrvoLogging.h>

namespace dropfolder {

using OrvoSupport::endrecord;

/// Begins a record: 1 start and end, 2 what went wrong, 3 what became of a file, 4 every step on the way. The
/// caller ends it with endrecord.
inline OrvoSupport::OrvoLogging& log(int level) {
    return OrvoSupport::OrvoLogging::getInstance() << OrvoSupport::setloglevel("dropfolder", level);
}

}  // namespace dropfolder

#endif
