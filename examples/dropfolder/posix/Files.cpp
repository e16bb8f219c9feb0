// Linux half of Files.
#include "../Files.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>

namespace dropfolder {
namespace {

Move moved(bool done) {
    if (done) return {Move::done, 0};
    switch (errno) {
        case ENOENT: return {Move::nothingThere, errno};
        case EEXIST: return {Move::nameTaken, errno};
        default: return {Move::refused, errno};
    }
}

// For file systems that cannot rename without replacing. The file has two names for a moment, which does no
// harm to a file that nobody else moves.
bool relink(const char* from, const char* to) { return ::link(from, to) == 0 && ::unlink(from) == 0; }

int descriptor(void* file) { return static_cast<int>(reinterpret_cast<std::intptr_t>(file)) - 1; }

}  // namespace

bool readState(const std::string& path, FileState& state) {
    struct stat status;
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
    state.size = status.st_size;
    state.changed = status.st_mtim.tv_sec * 1000000000LL + status.st_mtim.tv_nsec;
    return true;
}

bool exists(const std::string& path) {
    struct stat status;
    return ::lstat(path.c_str(), &status) == 0;
}

Move takeFile(const std::string& from, const std::string& to) {
    return moved(::rename(from.c_str(), to.c_str()) == 0);
}

Move putFile(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return {Move::done, 0};
    return moved((errno == EINVAL || errno == ENOSYS) && relink(from.c_str(), to.c_str()));
}

// A descriptor may be 0, hence the 1 added to it.
FileLock::FileLock(const std::string& path) : m_file(nullptr) {
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (file < 0) return;
    if (::flock(file, LOCK_EX | LOCK_NB) == 0)
        m_file = reinterpret_cast<void*>(static_cast<std::intptr_t>(file) + 1);
    else
        ::close(file);
}

FileLock::~FileLock() {
    if (m_file) ::close(descriptor(m_file));
}

}  // namespace dropfolder
