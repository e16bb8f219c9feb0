// What stands before the text of a record.
#ifndef OSUPT_LOGGING_RECORD_PREFIX_H
#define OSUPT_LOGGING_RECORD_PREFIX_H

#include <string>

namespace OrvoSupport {

class OrvoDateTime;

/// Makes `line` "%04d%02d%02d_%02d:%02d:%02d %d %-10s [%d] " of time, level, area and thread, cut after 511
/// characters.
///
/// Thread safety: any thread.
void setRecordPrefix(std::string& line, const OrvoDateTime& time, int level, const char* area, int thread);

}  // namespace OrvoSupport

#endif
