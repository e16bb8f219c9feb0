// dropfolder as a service.
#ifndef DROPFOLDER_AGENT_H
#define DROPFOLDER_AGENT_H

#include <OrvoEvent.h>
#include <OrvoLogging.h>
#include <OrvoService.h>
#include <OrvoThread.h>

#include <memory>
#include <string>

#include "DropFolder.h"
#include "Settings.h"

namespace dropfolder {

/// Watches a folder from the start of the service to its stop, which lets the commands that run come to their
/// end. It is started as `dropfolder service` with the options of its installation.
///
/// Thread safety: that of OrvoService.
class Agent : public OrvoSupport::OrvoService {
public:
    /// `name` is the service's for the control manager. `options` are put behind `service` in the command
    /// line that is installed, and need to be quoted where it takes that.
    Agent(const std::string& name, const std::string& options);
    ~Agent() override;

    /// What it is to do, and where it writes its log from now on. Without them it does not start.
    void prepare(const Settings& settings);

    bool startIt(const OrvoSupport::string& arguments) override;
    bool stopIt() override;

private:
    class Watch;
    void end();

    Settings m_settings;
    std::unique_ptr<OrvoSupport::OrvoLogging> m_logger;
    OrvoSupport::OrvoEvent m_stop;
    std::unique_ptr<DropFolder> m_folder;
    std::unique_ptr<Watch> m_watch;
};

}  // namespace dropfolder

#endif
