// A systemd of the test's own.
#ifndef TESTS_SERVICE_POSIX_BOOTED_SYSTEMD_H
#define TESTS_SERVICE_POSIX_BOOTED_SYSTEMD_H

#include <memory>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/TempFolder.h"

namespace service_testing {

/// Boots a systemd in namespaces of its own, in a root that shows the machine's programs and the build, but
/// has an /etc, a /run and a /tmp of its own: nothing of the machine is touched. The destructor ends it with
/// all that runs in it, and so does the end of the test program, however it ends.
class BootedSystemd {
public:
    BootedSystemd();
    ~BootedSystemd();

    /// Why it is not there; empty when it is.
    const std::string& reason() const { return m_reason; }

    struct Answer {
        int exitCode;
        std::string output;
    };
    /// Runs a program inside, with an empty environment.
    Answer run(const std::vector<std::string>& command, int limitSeconds = 300) const;
    Answer systemctl(const std::vector<std::string>& words) const;

    /// A folder that has the same path inside and outside, and its path.
    const std::string& exchange() const { return m_exchange; }
    /// The text of a file inside, empty when there is none.
    std::string read(const std::string& path) const;

private:
    testing_support::TempFolder m_temp;
    std::string m_exchange;
    std::string m_reason;
    std::string m_init;  // the process id of its first process
    std::unique_ptr<testing_support::ChildProcess> m_boot;
};

}  // namespace service_testing

#endif
