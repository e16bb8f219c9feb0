// What the tests of the sample host share: a folder to watch, settings, and the program as a user starts it.
#ifndef TESTS_EXAMPLES_DROPFOLDER_FIXTURE_H
#define TESTS_EXAMPLES_DROPFOLDER_FIXTURE_H

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/TempFolder.h"

namespace dropfolder_test {

namespace fs = std::filesystem;
using testing_support::ChildProcess;
using testing_support::readFile;
using testing_support::writeFile;

/// The program of that name in the folder of this one.
std::string programBesideThis(const std::string& name);

/// Asks again and again until it holds, for a minute at most.
bool eventually(const std::function<bool()>& holds);

class DropfolderFixture : public testing::Test {
protected:
    DropfolderFixture();

    /// Writes the settings: the command is `inspect` unless `more` names another.
    void configure(const std::string& more = "");
    /// The setting of a command that makes a note of each run of it, and then takes that many milliseconds.
    std::string noteCommand(const std::string& milliseconds = "0") const;
    /// The same, but it takes until go() was called.
    std::string waitingCommand() const { return noteCommand("go"); }
    void go() { fs::create_directory(m_runs + "/go"); }

    /// Starts it with these arguments in front of the settings.
    std::unique_ptr<ChildProcess> start(const std::vector<std::string>& arguments);
    /// One pass over the folder; returns the exit code.
    int runOnce();
    /// Starts watching, and returns when it does.
    std::unique_ptr<ChildProcess> watch();

    /// Puts a file into the folder.
    void drop(const std::string& name, const std::string& text = "text\n");
    /// The file's only copy below done/<date>/, or an empty path.
    fs::path done(const std::string& name) const;
    fs::path failed(const std::string& name) const { return m_inbox + "/failed/" + name; }
    /// Where the instances keep what they have claimed, each in a folder named by a number.
    fs::path claims(const std::string& place) const { return fs::path(m_inbox) / "work" / place; }
    bool waits(const std::string& name) const { return fs::exists(m_inbox + "/" + name); }
    /// How many files are done.
    std::size_t doneCount() const;
    /// How often the file was run; how many runs there were of all. Only noteCommand() counts.
    int runs(const std::string& name) const;
    std::size_t allRuns() const;

    std::string logText() const { return readFile(m_folder.file("agent.log")); }
    bool logHas(const std::string& text) const { return logText().find(text) != std::string::npos; }

    const testing_support::TempFolder m_folder;
    const std::string m_inbox = m_folder.file("inbox");
    const std::string m_runs = m_folder.file("runs");
    std::string m_output;  ///< of the last runOnce()
};

}  // namespace dropfolder_test

#endif
