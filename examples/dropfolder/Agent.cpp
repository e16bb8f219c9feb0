#include "Agent.h"

#include <OrvoException.h>

#include <exception>

#include "Log.h"

namespace dropfolder {

using OrvoSupport::OrvoException;
using OrvoSupport::OrvoLogging;

/// Watches until the event is set.
class Agent::Watch : public OrvoSupport::OrvoThread {
public:
    explicit Watch(Agent& agent) : OrvoThread("Watch"), m_agent(agent) {}
    ~Watch() override { wait(-1); }

protected:
    using OrvoThread::run;
    int run() override {
        try {
            const Tally& tally = m_agent.m_folder->watch();
            log(1) << tally.done.load() << " done, " << tally.failed.load() << " failed, "
                   << tally.left.load() << " left" << endrecord;
            return 0;
        } catch (const OrvoException& exception) {
            log(2) << exception.getText() << endrecord;
        } catch (const std::exception& exception) {
            log(2) << "dropfolder: " << exception.what() << endrecord;
        }
        m_agent.stop();  // a service that does nothing is better seen as stopped
        return 1;
    }

private:
    Agent& m_agent;
};

Agent::Agent(const std::string& name, const std::string& options)
    : OrvoService("dropfolder", name, "Drop folder agent (" + name + ")", "", false) {
    m_arguments = "service " + options;
    m_description = L"Runs a command for each file that is put into a folder.";
}

Agent::~Agent() { end(); }

void Agent::prepare(const Settings& settings) {
    m_settings = settings;
    m_logger = std::make_unique<OrvoLogging>(settings.log, OrvoLogging::fileTarget, settings.level);
    OrvoLogging::setInstance(*m_logger);
}

bool Agent::startIt(const OrvoSupport::string&) {
    if (!m_logger) return false;
    try {
        m_folder = std::make_unique<DropFolder>(m_settings, m_stop);
    } catch (const OrvoException& exception) {
        log(2) << exception.getText() << endrecord;
        return false;
    }
    log(1) << "watching " << m_settings.watch << endrecord;
    m_watch = std::make_unique<Watch>(*this);
    m_watch->start();
    return m_watch->isAlive();
}

bool Agent::stopIt() {
    end();
    return true;
}

void Agent::end() {
    if (m_watch) m_stop.set();
    m_watch.reset();
    m_folder.reset();
    m_stop.reset();
}

}  // namespace dropfolder
