// A service over the system that the test plays, and what the library logs about it.
#ifndef TESTS_SERVICE_SERVICE_FIXTURE_H
#define TESTS_SERVICE_SERVICE_FIXTURE_H

#include <OrvoLogging.h>
#include <OrvoService.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "service/FakeSystem.h"
#include "support/TempFolder.h"

namespace service_testing {

/// What is protected made callable, and the work left to the test.
class Host : public OrvoService {
public:
    using OrvoService::AddToMessageLog;
    using OrvoService::getEventObject;
    using OrvoService::getStatusHandle;
    using OrvoService::m_arguments;
    using OrvoService::m_description;
    using OrvoService::OrvoService;
    using OrvoService::ReportStatusToSCMgr;
    using OrvoService::setStatusHandle;

    bool startIt(const string& given) override {
        ++starts;
        arguments = given;
        startThread = std::this_thread::get_id();
        return onStart();
    }
    bool stopIt() override {
        ++stops;
        stopThread = std::this_thread::get_id();
        return onStop();
    }

    std::function<bool()> onStart = [] { return true; };
    std::function<bool()> onStop = [] { return true; };
    int starts = 0, stops = 0;
    string arguments = "none";
    std::thread::id startThread, stopThread;
};

struct Record {
    int level;
    std::string thread, text;
};

/// A process-wide logger and the records it wrote.
class ServiceLog {
public:
    explicit ServiceLog(int level) : m_logger(m_folder.file("log"), OrvoLogging::fileTarget, level) {
        OrvoLogging::setInstance(m_logger);
    }

    std::vector<Record> records() const {
        std::vector<Record> found;
        std::istringstream lines(testing_support::readFile(m_folder.file("log.log")));
        for (std::string line; std::getline(lines, line);) {
            if (!line.empty() && line.back() == '\r') line.pop_back();
            std::istringstream words(line);
            Record record;
            std::string time, area;
            words >> time >> record.level >> area >> record.thread;
            std::getline(words.ignore(), record.text);
            found.push_back(record);
        }
        return found;
    }
    std::vector<std::string> texts() const {
        std::vector<std::string> found;
        for (const Record& record : records()) found.push_back(record.text);
        return found;
    }
    /// The records of the thread that wrote this one, in order.
    std::vector<std::string> textsOfThreadOf(const std::string& text) const {
        const std::vector<Record> all = records();
        std::vector<std::string> found;
        for (const Record& one : all)
            if (one.text == text) {
                for (const Record& record : all)
                    if (record.thread == one.thread) found.push_back(record.text);
                break;
            }
        return found;
    }
    bool has(const std::string& text) const { return position(text) < texts().size(); }
    std::size_t position(const std::string& text) const {
        const std::vector<std::string> all = texts();
        return static_cast<std::size_t>(std::find(all.begin(), all.end(), text) - all.begin());
    }

private:
    testing_support::TempFolder m_folder;
    OrvoLogging m_logger;
};

class ServiceFixture : public testing::Test {
protected:
    explicit ServiceFixture(int logLevel = 9) : log((renewFake(), logLevel)) {}
    void TearDown() override { EXPECT_TRUE(fake().settled()); }

    ServiceLog log;
    Host host{"name", "svc", "A service", "", false};
};

}  // namespace service_testing

#endif
