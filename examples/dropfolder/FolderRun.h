// One pass over a folder: every file that matches is claimed, handed to the command, and filed away.
#ifndef DROPFOLDER_FOLDER_RUN_H
#define DROPFOLDER_FOLDER_RUN_H

#include <string>

#include "Settings.h"

namespace dropfolder {

/// How many files went which way.
struct Tally {
    int done = 0;
    int failed = 0;
    int left = 0;  ///< could be neither claimed nor filed away; they stand where the log says
};

/// Works through a watched folder. Inside it, `work` holds the files whose command runs, `done/<date>` those
/// whose command gave 0, and `failed` the others. A file is moved to `work` before its command starts, so a
/// run that is killed leaves it there; the next run says so in the log and moves it to `failed` instead of
/// running it a second time. No file is ever overwritten.
class FolderRun {
public:
    explicit FolderRun(const Settings& settings);

    /// Throws OrvoSupport::OrvoException when the folders cannot be made.
    Tally run();

private:
    void recoverUnfinished();
    void process(const std::string& name);
    bool execute(const std::string& path);
    bool file(const std::string& path, const std::string& folder, const std::string& name);

    const Settings m_settings;
    const std::string m_work;
    const std::string m_done;
    const std::string m_failed;
    Tally m_tally;
};

/// The command line for one file: the path, quoted, in place of each <FILE>, or at the end if there is none.
std::string commandLine(const std::string& command, const std::string& path);

}  // namespace dropfolder

#endif
