// Linux half of TreeWalk. Every step is relative to an open directory, so that no name on the way can be
// swapped for a link. Two directories are open at most: the way back is "..", checked against what was left.
#include "platform/TreeWalk.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/DirectoryList.h"
#include "platform/posix/SystemPath.h"

namespace OrvoSupport::platform {
namespace {

constexpr int onlyRealDirectories = O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

struct Level {
    DirectoryList entries;
    std::size_t next = 0;
    dev_t device = 0;
    ino_t inode = 0;
};

bool isSameDirectory(const struct stat& status, const Level& level) {
    return status.st_dev == level.device && status.st_ino == level.inode;
}

}  // namespace

struct TreeWalk::Impl {
    std::string rootName;
    Descriptor base;  // holds the root
    int baseError = 0;
    Descriptor current;         // the innermost directory entered
    std::vector<Level> levels;  // one for each directory entered

    explicit Impl(std::string path) {
        const auto end = path.find_last_not_of("\\/");
        if (end != std::string::npos) path.resize(end + 1);
        const auto separator = end == std::string::npos ? end : path.find_last_of("\\/");
        rootName = separator == std::string::npos ? path : path.substr(separator + 1);
        if (end == std::string::npos && !path.empty()) rootName = "/";
        openBase(separator == std::string::npos ? "." : path.substr(0, separator + 1));
    }

    void openBase(const std::string& path) {
        const SystemPath systemPath(path);
        baseError = systemPath.error();
        if (baseError != 0) return;
        base =
            Descriptor(::openat(systemPath.directory(), systemPath.rest(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!base) baseError = errno;
    }

    int directory() const { return levels.empty() ? base.get() : current.get(); }

    const char* name() const {
        return levels.empty() ? rootName.c_str() : levels.back().entries.name(levels.back().next - 1);
    }

    int remove(int flags) const {
        if (baseError != 0) return baseError;
        return ::unlinkat(directory(), name(), flags) == 0 ? 0 : errno;
    }
};

TreeWalk::TreeWalk(const std::string& path) : m_impl(std::make_unique<Impl>(path)) {}

TreeWalk::~TreeWalk() = default;

bool TreeWalk::next() {
    if (m_impl->levels.empty()) return false;
    Level& level = m_impl->levels.back();
    if (level.next == level.entries.size()) return false;
    ++level.next;
    return true;
}

const char* TreeWalk::name() const { return m_impl->name(); }

bool TreeWalk::isDirectory() const {
    if (m_impl->levels.empty()) return true;
    const Level& level = m_impl->levels.back();
    const unsigned char type = level.entries.type(level.next - 1);
    if (type != DT_UNKNOWN) return type == DT_DIR;
    struct stat status;
    return ::fstatat(m_impl->directory(), name(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(status.st_mode);
}

int TreeWalk::tryRemoveDirectory() { return m_impl->remove(AT_REMOVEDIR); }

int TreeWalk::removeDirectory() { return m_impl->remove(AT_REMOVEDIR); }

int TreeWalk::removeFile() { return m_impl->remove(0); }

bool TreeWalk::enter() {
    Descriptor entered(::openat(m_impl->directory(), name(), O_RDONLY | onlyRealDirectories));
    struct stat status;
    if (!entered || ::fstat(entered.get(), &status) != 0) return false;
    Level level;
    level.device = status.st_dev;
    level.inode = status.st_ino;
    level.entries.read(entered.get(), nullptr);
    m_impl->levels.push_back(std::move(level));
    m_impl->current = std::move(entered);
    return true;
}

int TreeWalk::leave() {
    m_impl->levels.pop_back();
    if (m_impl->levels.empty()) {
        m_impl->current = Descriptor();
        return 0;
    }
    Descriptor parent(::openat(m_impl->current.get(), "..", O_PATH | onlyRealDirectories));
    struct stat status;
    if (!parent || ::fstat(parent.get(), &status) != 0) return errno;
    if (!isSameDirectory(status, m_impl->levels.back())) return ENOENT;
    m_impl->current = std::move(parent);
    return 0;
}

}  // namespace OrvoSupport::platform
