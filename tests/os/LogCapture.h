// The records that the library writes while a test runs.
#ifndef TESTS_OS_LOG_CAPTURE_H
#define TESTS_OS_LOG_CAPTURE_H

#include <OrvoLogging.h>

#include <sstream>
#include <string>
#include <vector>

#include "support/TempFolder.h"

namespace testing_support {

/// A process-wide logger at level 9 whose lines are texts only.
class LogCapture {
public:
    LogCapture() : m_logger(m_folder.file("trace"), OrvoSupport::OrvoLogging::fileTarget, 9) {
        m_logger.enableRecordData(false);
        OrvoSupport::OrvoLogging::setInstance(m_logger);
    }

    /// The records so far that begin with `start`.
    std::vector<std::string> records(const std::string& start) const {
        std::vector<std::string> found;
        std::istringstream lines(readFile(m_folder.file("trace.log")));
        for (std::string line; std::getline(lines, line);) {
            if (!line.empty() && line.back() == '\r') line.pop_back();
            if (line.compare(0, start.size(), start) == 0) found.push_back(line);
        }
        return found;
    }

private:
    TempFolder m_folder;
    OrvoSupport::OrvoLogging m_logger;
};

}  // namespace testing_support

#endif
