// Shared by the tests that run programs.
#ifndef TESTS_OS_PROCESS_TEST_SUPPORT_H
#define TESTS_OS_PROCESS_TEST_SUPPORT_H

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "OrvoLogging.h"
#include "support/ChildProcess.h"
#include "support/TempFolder.h"

namespace process_test {

/// The process's own stream.
inline void* own() { return reinterpret_cast<void*>(static_cast<std::intptr_t>(-1)); }

/// A command line for this test program at the entry `name`.
inline std::string child(const std::string& name, const std::string& arguments = "") {
    return "\"" + testing_support::programPath() + "\" --osupt-child=" + name + " " + arguments;
}

inline std::vector<std::string> linesOf(const std::string& path) {
    std::vector<std::string> lines(1);
    for (const char c : testing_support::readFile(path)) {
        if (c == '\n')
            lines.emplace_back();
        else if (c != '\r')
            lines.back() += c;
    }
    lines.pop_back();
    return lines;
}

/// Waits for another process to make a file.
inline bool appears(const std::string& path) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!std::filesystem::exists(path)) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

/// The process-wide logger for the length of a test.
class Recorder {
public:
    explicit Recorder(int level) : m_logger(m_folder.file("records"), 1, level) {
        OrvoSupport::OrvoLogging::setInstance(m_logger);
    }

    /// The records so far, each as its level, a blank, and its text.
    std::vector<std::string> records() const {
        std::vector<std::string> records = linesOf(m_folder.file("records.log"));
        for (std::string& record : records) {
            const std::size_t level = record.find(' ') + 1;
            record = record.substr(level, 2) + record.substr(record.find("] ") + 2);
        }
        return records;
    }

private:
    testing_support::TempFolder m_folder;
    OrvoSupport::OrvoLogging m_logger;
};

/// An environment variable with another value for the length of a test.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const std::string& value) : m_name(name) {
        if (const char* const old = std::getenv(name)) m_old = old;
        testing_support::setEnvironment(name, value.c_str());
    }
    ~ScopedVariable() { testing_support::setEnvironment(m_name, m_old.c_str()); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const char* m_name;
    std::string m_old;
};

}  // namespace process_test

#endif
