#include "DropfolderFixture.h"

#include <chrono>
#include <iterator>
#include <thread>

namespace dropfolder_test {
namespace {

std::size_t entriesIn(const fs::path& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
}

}  // namespace

std::string programBesideThis(const std::string& name) {
    const fs::path own = testing_support::programPath();
    return (own.parent_path() / name).string() + own.extension().string();
}

bool eventually(const std::function<bool()>& holds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!holds()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

DropfolderFixture::DropfolderFixture() {
    fs::create_directory(m_inbox);
    fs::create_directory(m_runs);
}

void DropfolderFixture::configure(const std::string& more) {
    writeFile(m_folder.file("settings"), "watch=" + m_inbox + "\ncommand=\"" + programBesideThis("inspect") +
                                             "\" <FILE>\nlog=" + m_folder.file("agent") + "\ninterval=1\n" +
                                             more);
}

std::string DropfolderFixture::noteCommand(const std::string& milliseconds) const {
    return "command=\"" + programBesideThis("note-run") + "\" \"" + m_runs + "\" <FILE> " + milliseconds +
           "\n";
}

std::unique_ptr<ChildProcess> DropfolderFixture::start(const std::vector<std::string>& arguments) {
    testing_support::Command command{programBesideThis("dropfolder"), arguments};
    command.arguments.push_back("--config=" + m_folder.file("settings"));
    return std::make_unique<ChildProcess>(command);
}

int DropfolderFixture::runOnce() {
    const auto process = start({"run", "--once"});
    const int exitCode = process->wait(60);
    m_output = process->output();
    return exitCode;
}

std::unique_ptr<ChildProcess> DropfolderFixture::watch() {
    auto process = start({"run"});
    EXPECT_TRUE(eventually([&] { return process->output().find("watching ") != std::string::npos; }))
        << process->output();
    return process;
}

void DropfolderFixture::drop(const std::string& name, const std::string& text) {
    writeFile(m_inbox + "/" + name, text);
}

fs::path DropfolderFixture::done(const std::string& name) const {
    if (!fs::exists(m_inbox + "/done")) return {};
    for (const auto& day : fs::directory_iterator(m_inbox + "/done"))
        if (fs::exists(day.path() / name)) return day.path() / name;
    return {};
}

std::size_t DropfolderFixture::doneCount() const {
    std::size_t count = 0;
    if (!fs::exists(m_inbox + "/done")) return count;
    for (const auto& day : fs::directory_iterator(m_inbox + "/done")) count += entriesIn(day.path());
    return count;
}

int DropfolderFixture::runs(const std::string& name) const {
    int count = 0;
    while (fs::exists(m_runs + "/" + name + "." + std::to_string(count + 1))) ++count;
    return count;
}

std::size_t DropfolderFixture::allRuns() const {
    return entriesIn(m_runs) - (fs::exists(m_runs + "/go") ? 1 : 0);
}

}  // namespace dropfolder_test
