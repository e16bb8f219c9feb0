// The folder through which a test and ServiceProgram talk.
#ifndef TESTS_SERVICE_POSIX_SERVICE_FOLDER_H
#define TESTS_SERVICE_POSIX_SERVICE_FOLDER_H

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/ChildProcess.h"
#include "support/TempFolder.h"

namespace service_testing {

constexpr std::chrono::seconds limit(60);

/// Waits until something is so; false when that takes too long.
template <class Condition>
bool soon(const Condition& condition) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

inline std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

inline std::string serviceProgram() {
    return std::filesystem::path(testing_support::programPath()).replace_filename("ServiceProgram").string();
}

class ServiceFolder {
public:
    explicit ServiceFolder(const std::string& path) : m_path(path) {}

    const std::string& path() const { return m_path; }
    void set(const std::string& name, const std::string& value = "") const {
        testing_support::writeFile(m_path + "/" + name, value);
    }
    std::string get(const std::string& name) const { return testing_support::readFile(m_path + "/" + name); }
    std::vector<std::string> events() const { return linesOf(get("events")); }
    bool happened(const std::string& event) const {
        for (const std::string& line : events())
            if (line == event) return true;
        return false;
    }
    /// The service's process once it runs.
    pid_t process() const {
        const std::string text = get("pid");
        return text.empty() ? 0 : static_cast<pid_t>(std::stol(text));
    }
    /// How many records the service wrote with exactly this text.
    long records(const std::string& text) const {
        long count = 0;
        for (const std::string& line : linesOf(get("service.log")))
            if (line.size() >= text.size() && line.compare(line.size() - text.size(), text.size(), text) == 0)
                ++count;
        return count;
    }

private:
    const std::string m_path;
};

}  // namespace service_testing

#endif
