// The folders that a dropfolder keeps inside the watched one.
#ifndef DROPFOLDER_FOLDERS_H
#define DROPFOLDER_FOLDERS_H

#include <string>
#include <vector>

namespace dropfolder {

/// `work` holds the files whose command runs, `done/<date>` those whose command gave 0, `failed` the others.
struct Folders {
    /// Makes what there is not. Throws OrvoSupport::OrvoException when that cannot be done.
    explicit Folders(const std::string& watch);

    const std::string watch;
    const std::string work;
    const std::string failed;

    /// The folder of today's good files; made if there is none.
    std::string done() const;
};

/// Makes a folder and the parents it lacks. Throws OrvoSupport::OrvoException.
void makeFolder(const std::string& path);

/// The names of all entries that match, files and folders alike.
std::vector<std::string> namesIn(const std::string& folder, const std::string& pattern = "*");

/// Moves folder/name into `target` under its name, or "name.2", "name.3" and so on while that is taken: no
/// file is ever overwritten. When it cannot be moved, the log says why and it stays where it is.
bool fileAway(const std::string& folder, const std::string& name, const std::string& target);

/// Moves all that is in the folder of one file to `target` and removes the folder. False when something may
/// have stayed.
bool emptyFolder(const std::string& folder, const std::string& target);

/// The system's reason for an error code.
std::string reason(int error);

}  // namespace dropfolder

#endif
