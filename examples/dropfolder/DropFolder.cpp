#include "DropFolder.h"

#include <OrvoException.h>
#include <OrvoTimer.h>

#include "Log.h"

namespace dropfolder {

using OrvoSupport::OrvoEvent;

DropFolder::DropFolder(const Settings& settings, OrvoEvent& stop)
    : m_settings(settings),
      m_stop(stop),
      m_folders(settings.watch),
      m_workFolder(m_folders, m_tally),
      m_scanner(settings.watch, settings.pattern) {}

DropFolder::~DropFolder() { endWorkers(); }

const Tally& DropFolder::workOnce() {
    startWorkers();
    m_workFolder.recover();
    m_queue.put(m_scanner.all());
    m_queue.produceSentinel(false);
    std::vector<OrvoEvent*> events{&m_stop, &m_allDone};
    OrvoEvent::wait(events, false, -1);
    endWorkers();
    return m_tally;
}

const Tally& DropFolder::watch() {
    startWorkers();
    OrvoSupport::OrvoTimer timer;
    timer.start(m_settings.interval, 0, false);
    std::vector<OrvoEvent*> events{&m_stop, &timer};
    do {
        m_workFolder.recover();
        m_queue.put(m_scanner.unchanged());
    } while (OrvoEvent::wait(events, false, -1) == 1);
    timer.stop();
    endWorkers();
    return m_tally;
}

void DropFolder::handleNotification(OrvoSupport::OrvoCollaborator&, const OrvoSupport::OrvoNotification&) {
    if (--m_working == 0) m_allDone.set();
}

void DropFolder::startWorkers() {
    for (int number = 1; number <= m_settings.workers; ++number)
        m_workers.push_back(std::make_unique<Worker>(
            Workplace{m_settings, m_folders, m_workFolder, m_queue, m_unclaimed, m_tally},
            "worker " + std::to_string(number)));
    m_working = m_settings.workers;
    for (const auto& worker : m_workers) {
        worker->addDependent(*this);
        worker->start();
        if (!worker->isAlive()) throw OrvoSupport::OrvoException("dropfolder: cannot start a thread");
    }
}

void DropFolder::endWorkers() {
    if (m_workers.empty()) return;
    m_queue.produceSentinel(true);
    log(4) << "takes no more files" << endrecord;
    for (const auto& worker : m_workers) worker->wait(-1);
    m_workers.clear();
}

}  // namespace dropfolder
