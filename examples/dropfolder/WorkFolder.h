// The folder of the files whose command runs, and what is left in such folders when a dropfolder was killed.
#ifndef DROPFOLDER_WORK_FOLDER_H
#define DROPFOLDER_WORK_FOLDER_H

#include <atomic>
#include <memory>
#include <set>
#include <string>

#include "Files.h"
#include "Folders.h"
#include "Tally.h"

namespace dropfolder {

/// work/<number>, the place where one running dropfolder works. It belongs to whoever holds the lock on
/// work/<number>.lock, and the system takes that lock from a process that ends, however it ends. So whatever
/// stands in a work folder whose lock is free was left by a dropfolder that was killed.
///
/// Each file that is worked on has a folder of its own in there, for what its command writes beside it.
///
/// Thread safety: newFolder() may be called from any thread at any time, recover() from one at a time.
class WorkFolder {
public:
    /// Takes the first number that nobody has, and recovers what its last owner left. Throws
    /// OrvoSupport::OrvoException when there is none.
    WorkFolder(const Folders& folders, Tally& tally);

    /// Moves what killed dropfolders left to `failed` and says so in the log, since the command of each may
    /// have run. What belongs to a dropfolder that lives stays untouched.
    void recover();

    /// Makes a folder for one file and returns its path. Throws OrvoSupport::OrvoException.
    std::string newFolder();

private:
    void recoverFolder(const std::string& folder);

    const Folders& m_folders;
    Tally& m_tally;
    std::string m_path;
    std::unique_ptr<FileLock> m_lock;
    std::atomic<unsigned> m_count{0};
    std::set<std::string> m_stuck;  // what could not be recovered and is left to the next start
};

}  // namespace dropfolder

#endif
