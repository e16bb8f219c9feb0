// A thread that works on one file after the other.
#ifndef DROPFOLDER_WORKER_H
#define DROPFOLDER_WORKER_H

#include <OrvoThread.h>

#include <string>

#include "FileQueue.h"
#include "Folders.h"
#include "Settings.h"
#include "Tally.h"
#include "Unclaimed.h"
#include "WorkFolder.h"

namespace dropfolder {

/// What the workers of one dropfolder share; all of it outlives them.
struct Workplace {
    const Settings& settings;
    const Folders& folders;
    WorkFolder& workFolder;
    FileQueue& queue;
    Unclaimed& unclaimed;
    Tally& tally;
};

/// Takes files from the queue until it is told to stop. A file is claimed by moving it to a folder of its own
/// below the work folder before its command starts, so that of several dropfolders only one runs it, and one
/// that is killed leaves it where the next one knows what it is.
///
/// Thread safety: that of OrvoThread.
class Worker : public OrvoSupport::OrvoThread {
public:
    Worker(const Workplace& workplace, const std::string& name);
    ~Worker() override;

protected:
    using OrvoThread::run;
    int run() override;

private:
    void process(const FoundFile& file);
    bool canBeClaimed(const FoundFile& file);
    bool claim(const std::string& name, const std::string& folder);
    void settle(const std::string& name, const std::string& folder, bool good);
    void leave(const std::string& name, const std::string& why);

    const Workplace m_workplace;
};

}  // namespace dropfolder

#endif
