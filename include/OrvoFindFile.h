// Finding files by pattern; creating and removing directories.
#ifndef ORVO_FIND_FILE_H
#define ORVO_FIND_FILE_H

#include <memory>

#include "OrvoExport.h"
#include "OrvoString.h"

namespace OrvoSupport {

class FindFileBase;

/// The entries of one directory that match a pattern, "." and ".." among them.
///
///     for (OrvoFindFile files("/var/spool/in/*.job"); files.hasMore();) take(files.next());
///
/// Wildcards stand in the last component only: "*" is any run of characters, "?" is one character, nothing
/// else is special. A ".*" at the end also matches a name without extension, so that "*.*" matches every
/// name. A pattern without wildcards finds the entry of that name; one that ends in a separator finds
/// nothing. Separators are "/" and "\". A link is found as itself, wherever it leads.
///
/// Case and order are the system's: on Windows case does not matter and entries come as the file system
/// keeps them; on Linux case matters and entries come in byte order of their names, as they were at
/// construction.
///
/// Thread safety: none for one object; different objects are independent.
class OSUPT_API OrvoFindFile {
public:
    /// Starts the search. A pattern that cannot be searched (no such directory, no access) finds nothing.
    explicit OrvoFindFile(const string& pattern);
    /// Starts a fresh search with the other's pattern, however far the other has come.
    OrvoFindFile(const OrvoFindFile& other);
    OrvoFindFile& operator=(const OrvoFindFile& other);
    ~OrvoFindFile();

    /// Whether next() has an entry to give.
    bool hasMore();
    /// The path of the current entry: the pattern's text before its last separator as it stands there, "/",
    /// and the name; only the name when the pattern has no separator. Moves on to the next entry. Empty when
    /// there is none.
    string next();

private:
    std::unique_ptr<FindFileBase> m_search;
};

/// Creates a directory and the parents it lacks. Returns true if it was created, or if something of that name
/// is there already; false (the reason is in the log, level 9) if a step failed. What was created by then
/// stays. Separators are "/" and "\". Throws nothing.
///
/// Thread safety: any thread; threads and processes that create the same path do not disturb each other.
OSUPT_API bool OrvoCreateDirectory(const string& path);

/// Removes a directory; with `recursive` also everything in it, to any depth. Throws OrvoException with the
/// failure as text and its error value as code: an errno value (ENOTEMPTY for a directory that is not
/// empty) if the first attempt at a directory failed, the system's error code for anything later.
///
/// - Sub-directories whose names begin with a dot are left in place, so that the removal fails at the end.
/// - Nothing is made writable first: what is write-protected on Windows stays and the removal fails.
/// - Links are removed and never followed, even if one is put in the place of a directory meanwhile.
/// - The first failure ends the removal; what was removed by then is gone.
///
/// Thread safety: any thread.
OSUPT_API void OrvoRemoveDirectory(const string& path, bool recursive);

/// The same with a result. On false `message` and `error` say what failed; on true they are as before. A
/// failure inside a sub-directory is thrown as an OrvoException all the same.
OSUPT_API bool OrvoRemoveDirectoryImpl(const string& path, bool recursive, string& message, int& error);

}  // namespace OrvoSupport

#endif
