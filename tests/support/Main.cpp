// The main() of every test program: GoogleTest, or the child entry that a parent test asked for.
#include <gmock/gmock.h>

#include <cstdlib>
#include <cstring>
#include <map>

#include "support/ChildProcess.h"

namespace testing_support {
namespace {

const char childFlag[] = "--osupt-child=";

std::map<std::string, ChildMain>& entries() {
    static std::map<std::string, ChildMain> all;
    return all;
}

}  // namespace

ChildEntry::ChildEntry(const char* name, ChildMain entry) { entries()[name] = entry; }

Command childCommand(const std::string& name, const std::vector<std::string>& arguments) {
    Command command{programPath(), {childFlag + name}};
    command.arguments.insert(command.arguments.end(), arguments.begin(), arguments.end());
    return command;
}

ChildProcess::ChildProcess(const std::string& name, const std::vector<std::string>& arguments)
    : ChildProcess(childCommand(name, arguments)) {}

int runChildEntry(int argc, char** argv) {
    if (argc < 2 || std::strncmp(argv[1], childFlag, sizeof childFlag - 1) != 0) return -1;
    const auto entry = entries().find(argv[1] + sizeof childFlag - 1);
    if (entry == entries().end()) return 120;
    return entry->second(std::vector<std::string>(argv + 2, argv + argc));
}

}  // namespace testing_support

int main(int argc, char** argv) {
    const int exitCode = testing_support::runChildEntry(argc, argv);
    if (exitCode >= 0) return exitCode;
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
