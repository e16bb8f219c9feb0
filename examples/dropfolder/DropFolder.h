// The folder that is worked through.
#ifndef DROPFOLDER_DROP_FOLDER_H
#define DROPFOLDER_DROP_FOLDER_H

#include <OrvoEvent.h>
#include <OrvoThread.h>

#include <memory>
#include <vector>

#include "FileQueue.h"
#include "Folders.h"
#include "Scanner.h"
#include "Settings.h"
#include "Tally.h"
#include "Unclaimed.h"
#include "WorkFolder.h"
#include "Worker.h"

namespace dropfolder {

/// Scans the watched folder and lets its workers run the command for each file. Several may work on one
/// folder at the same time, in one process or in several. To be used once.
///
/// Thread safety: none; but setting the event `stop` from any other thread ends either way of working: what
/// runs is finished, what waits is left in the watched folder.
class DropFolder : private OrvoSupport::OrvoDependent {
public:
    /// Both must outlive it. Throws OrvoSupport::OrvoException when the folders cannot be made.
    DropFolder(const Settings& settings, OrvoSupport::OrvoEvent& stop);
    ~DropFolder() override;

    /// Takes all files as they stand now, and returns when they are done.
    const Tally& workOnce();
    /// Scans again and again until it is stopped.
    const Tally& watch();

private:
    void handleNotification(OrvoSupport::OrvoCollaborator& worker,
                            const OrvoSupport::OrvoNotification& done) override;
    void startWorkers();
    void endWorkers();

    const Settings& m_settings;
    OrvoSupport::OrvoEvent& m_stop;
    OrvoSupport::OrvoEvent m_allDone;
    Tally m_tally;
    Unclaimed m_unclaimed{m_tally};
    const Folders m_folders;
    WorkFolder m_workFolder;
    Scanner m_scanner;
    FileQueue m_queue;
    std::atomic<int> m_working{0};
    std::vector<std::unique_ptr<Worker>> m_workers;
};

}  // namespace dropfolder

#endif
