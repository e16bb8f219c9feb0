#include "service/posix/BootedSystemd.h"

#include <signal.h>

#include <filesystem>

#include "service/posix/ServiceFolder.h"

using testing_support::ChildProcess;
using testing_support::Command;
using testing_support::readFile;

namespace service_testing {

BootedSystemd::BootedSystemd() : m_exchange(m_temp.file("exchange")) {
    std::filesystem::create_directory(m_exchange);
    const std::string build = std::filesystem::path(testing_support::programPath()).parent_path();
    m_boot = std::make_unique<ChildProcess>(
        Command{"/bin/sh", {OSUPT_TEST_BOOT_SCRIPT, m_exchange, OSUPT_UNIT_DIR, build}});
    const bool booted = soon([&] {
        if (!m_boot->running()) return true;
        m_init = readFile(m_exchange + "/init");
        return !m_init.empty() && m_init.back() == '\n' &&
               systemctl({"is-active", "basic.target"}).output == "active\n";
    });
    if (booted && m_boot->running()) return;
    m_reason = booted ? m_boot->output() : "systemd does not come up";
}

BootedSystemd::~BootedSystemd() {
    const long init = m_init.empty() ? 0 : std::stol(m_init);
    if (init > 1 && m_boot->running()) ::kill(static_cast<pid_t>(init), SIGKILL);
    m_boot->wait();  // it tidies up
}

BootedSystemd::Answer BootedSystemd::run(const std::vector<std::string>& command, int limitSeconds) const {
    const std::string init = m_init.substr(0, m_init.find('\n'));
    std::vector<std::string> words = {"-t",
                                      init,
                                      "-m",
                                      "-p",
                                      "-C",
                                      "-u",
                                      "-i",
                                      "-n",
                                      "env",
                                      "-i",
                                      "PATH=/usr/sbin:/usr/bin:/sbin:/bin",
                                      "TERM=dumb"};
    words.insert(words.end(), command.begin(), command.end());
    ChildProcess process(Command{"/usr/bin/nsenter", words});
    const int exitCode = process.wait(limitSeconds);
    return {exitCode, process.output()};
}

BootedSystemd::Answer BootedSystemd::systemctl(const std::vector<std::string>& words) const {
    std::vector<std::string> command = {"systemctl", "--no-pager", "--no-ask-password"};
    command.insert(command.end(), words.begin(), words.end());
    return run(command);
}

std::string BootedSystemd::read(const std::string& path) const {
    const Answer answer = run({"cat", path});
    return answer.exitCode == 0 ? answer.output : "";
}

}  // namespace service_testing
