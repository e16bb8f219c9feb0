// A logger with a file in a folder of its own, and what a test asks it.
#ifndef TESTS_LOGGING_LOG_FIXTURE_H
#define TESTS_LOGGING_LOG_FIXTURE_H

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "OrvoLogging.h"
#include "logging/LogSystem.h"
#include "support/TempFolder.h"

/// The protected operations made callable.
class OpenLogger : public OrvoSupport::OrvoLogging {
public:
    using OrvoLogging::endrecord;
    using OrvoLogging::getLogAccess;
    using OrvoLogging::openLogFile;
    using OrvoLogging::OrvoLogging;
};

class LogFixture : public testing::Test {
protected:
    /// The log as the logger wrote it, its lines ended by LF.
    std::string text() const { return textOf(path); }
    std::vector<std::string> lines() const { return linesOf(path); }

    static std::string textOf(const std::string& file) {
        std::string bytes = testing_support::readFile(file);
        const std::string end = log_system::lineEnd;
        for (std::size_t at = 0; (at = bytes.find(end, at)) != std::string::npos; ++at)
            bytes.replace(at, end.size(), "\n");
        return bytes;
    }

    static std::vector<std::string> linesOf(const std::string& file) {
        std::vector<std::string> result;
        const std::string all = textOf(file);
        for (std::size_t at = 0; at < all.size();) {
            const std::size_t end = all.find('\n', at);
            result.push_back(all.substr(at, end - at));
            if (end == std::string::npos) break;
            at = end + 1;
        }
        return result;
    }

    testing_support::TempFolder folder;
    const std::string path = folder.file("agent.log");
    OpenLogger logger{folder.file("agent"), OrvoSupport::OrvoLogging::fileTarget, 9};
};

/// The same with lines that hold the text only.
class PlainLogFixture : public LogFixture {
protected:
    PlainLogFixture() { logger.enableRecordData(false); }
};

#endif
