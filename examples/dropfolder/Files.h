// What dropfolder asks of the file system beyond what the library offers.
#ifndef DROPFOLDER_FILES_H
#define DROPFOLDER_FILES_H

#include <string>

namespace dropfolder {

/// By what one sees that a file is still being written.
struct FileState {
    long long size = 0;
    long long changed = 0;  ///< when; the unit is the system's

    bool operator==(const FileState& other) const { return size == other.size && changed == other.changed; }
};

/// A file of the watched folder as a scan has found it.
struct FoundFile {
    std::string name;
    FileState state;
};

/// False for what is not an ordinary file or a link to one.
bool readState(const std::string& path, FileState& state);

/// Whether anything has that name, be it a link that leads nowhere.
bool exists(const std::string& path);

/// What became of a move, with the system's error code.
struct Move {
    enum Result { done, nothingThere, nameTaken, refused };

    Result result;
    int error;
};

/// Moves a file within one file system: of several movers of one file, only one is told that it was done.
/// `to` is in a folder that nobody else puts anything into.
Move takeFile(const std::string& from, const std::string& to);

/// Moves a file or folder that nobody else moves. Of several movers to one name only one is told that it was
/// done; nothing is overwritten.
Move putFile(const std::string& from, const std::string& to);

/// Holds a lock file as long as it lives. The system takes the lock from a process that ends, however it
/// ends.
///
/// Thread safety: none needed; it has no methods that change it.
class FileLock {
public:
    /// Makes the file if there is none; it is never deleted.
    explicit FileLock(const std::string& path);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    /// False when another process, or another object of this one, has it.
    bool held() const { return m_file != nullptr; }

private:
    void* m_file;
};

}  // namespace dropfolder

#endif
