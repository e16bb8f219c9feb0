// Which files of the watched folder can be taken.
#ifndef DROPFOLDER_SCANNER_H
#define DROPFOLDER_SCANNER_H

#include <map>
#include <string>
#include <vector>

#include "Files.h"

namespace dropfolder {

/// Looks through a folder again and again. A file that is still being written is left for later: it counts as
/// complete when its size and time of change are those of the scan before. A program that pauses longer than
/// that in the middle of a file had better write it under a name that does not match and rename it then.
///
/// Thread safety: none.
class Scanner {
public:
    Scanner(const std::string& folder, const std::string& pattern);

    /// All files that match and are ordinary files or links to such.
    std::vector<FoundFile> all();
    /// Those of them that have not changed since the last call of either.
    std::vector<FoundFile> unchanged();

private:
    const std::string m_folder;
    const std::string m_pattern;
    std::map<std::string, FileState> m_seen;
};

}  // namespace dropfolder

#endif
