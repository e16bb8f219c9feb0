// Linux half of OtherProcess.
#include "../OtherProcess.h"

#include <signal.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace dropfolder_test {

void prepareToStop() {}

bool stop(const testing_support::ChildProcess& process, Stop how) {
    return ::kill(static_cast<pid_t>(process.id()), how == Stop::interrupt ? SIGINT : SIGTERM) == 0;
}

Usage usageOf(const testing_support::ChildProcess& process) {
    const std::string folder = "/proc/" + std::to_string(process.id());
    Usage usage;
    std::ifstream status(folder + "/status");
    for (std::string word; status >> word;) {
        if (word == "Threads:") status >> usage.threads;
        if (word == "VmRSS:") status >> usage.kilobytes;
    }
    usage.descriptors = std::distance(std::filesystem::directory_iterator(folder + "/fd"), {});
    return usage;
}

}  // namespace dropfolder_test
