// The log file as a sequence of whole records.
#ifndef OSUPT_LOGGING_RECORD_FILE_H
#define OSUPT_LOGGING_RECORD_FILE_H

#include <memory>
#include <string>

#include "platform/LogFile.h"

namespace OrvoSupport {

/// Thread safety: none.
class RecordFile {
public:
    explicit RecordFile(std::unique_ptr<platform::LogFile> file);

    /// Writes a record, whose lines end in LF, as the system's text files have them. A record that the system
    /// does not take whole is lost whole: what went out of it is taken back, or, where that cannot be done,
    /// closed with a line end before the next record.
    void append(const std::string& record);

private:
    std::unique_ptr<platform::LogFile> m_file;
    const std::string m_lineEnd;
    const bool m_asItIs;  // lines end as the records' own
    bool m_torn = false;
};

}  // namespace OrvoSupport

#endif
