// A child process of a test: the test program itself, started at a named entry point.
#ifndef TESTS_SUPPORT_CHILD_PROCESS_H
#define TESTS_SUPPORT_CHILD_PROCESS_H

#include <memory>
#include <string>
#include <vector>

namespace testing_support {

using ChildMain = int (*)(const std::vector<std::string>& arguments);

/// Makes `entry` startable under `name`; use the macro below.
struct ChildEntry {
    ChildEntry(const char* name, ChildMain entry);
};

/// A program and what it is given.
struct Command {
    std::string program;
    std::vector<std::string> arguments;
};

/// A running copy of this test program, or any other program. Its standard output and standard error go to
/// one file, which output() reads. The destructor kills what still runs.
class ChildProcess {
public:
    /// Starts this test program at the entry `name`.
    explicit ChildProcess(const std::string& name, const std::vector<std::string>& arguments = {});
    /// Starts another program.
    explicit ChildProcess(const Command& command);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Waits for the end and returns the exit code; -1 when it has not ended after the time limit (it is
    /// killed then), 128 plus the signal when a signal ended it.
    int wait(int limitSeconds = 60);
    bool running();
    /// The system's number of the process.
    long id() const;
    /// Ends it at once, the way kill -9 and TerminateProcess do.
    void kill();
    /// All it has written so far, as bytes (Windows programs end their lines with CR LF).
    std::string output() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

/// The command that starts this test program at the entry `name`.
Command childCommand(const std::string& name, const std::vector<std::string>& arguments);
/// The full path of this test program.
const std::string& programPath();
/// Sets or (with null) removes an environment variable of this process and its C run-time library.
void setEnvironment(const char* name, const char* value);

/// Runs a child entry if the command line asks for one: its exit code, or -1 when it does not.
int runChildEntry(int argc, char** argv);

}  // namespace testing_support

/// OSUPT_CHILD(name) { ... return exitCode; } defines an entry; `arguments` is what the parent gave.
#define OSUPT_CHILD(name)                                                       \
    static int child_##name(const std::vector<std::string>& arguments);         \
    static const testing_support::ChildEntry entry_##name(#name, child_##name); \
    static int child_##name([[maybe_unused]] const std::vector<std::string>& arguments)

#endif
