// Linux half of Files.
#include "platform/Files.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "os/Wildcard.h"
#include "platform/posix/DirectoryList.h"
#include "platform/posix/SystemPath.h"

namespace OrvoSupport::platform {

int createDirectory(const std::string& path) {
    const SystemPath systemPath(path);
    int error = systemPath.error();
    if (error == 0 && ::mkdirat(systemPath.directory(), systemPath.rest(), 0777) != 0) error = errno;
    return error == ENOTDIR ? ENOENT : error;
}

bool pathExists(const std::string& path) {
    const SystemPath systemPath(path);
    return systemPath.error() == 0 && ::faccessat(systemPath.directory(), systemPath.rest(), F_OK, 0) == 0;
}

struct FileSearch::Impl {
    DirectoryList entries;
    std::string plainName;  // stands for the list when the pattern has no wildcards
    std::size_t count = 0;
    std::size_t at = 0;

    void findPlainName(const std::string& path, const std::string& name) {
        const SystemPath systemPath(path);
        struct stat status;
        if (systemPath.error() != 0 ||
            ::fstatat(systemPath.directory(), systemPath.rest(), &status, AT_SYMLINK_NOFOLLOW) != 0)
            return;
        plainName = name;
        count = 1;
    }

    void findMatches(const std::string& folder, const Wildcard& pattern) {
        const SystemPath systemPath(folder);
        if (systemPath.error() != 0) return;
        const Descriptor directory(
            ::openat(systemPath.directory(), systemPath.rest(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!directory) return;
        entries.read(directory.get(), &pattern);
        count = entries.size();
    }
};

FileSearch::FileSearch(const std::string& pattern) : m_impl(std::make_unique<Impl>()) {
    const auto separator = pattern.find_last_of("\\/");
    const auto nameAt = separator == std::string::npos ? 0 : separator + 1;
    const std::string name = pattern.substr(nameAt);
    if (name.empty()) return;
    const Wildcard wildcard(name);
    if (wildcard.isPlainName())
        m_impl->findPlainName(pattern, name);
    else
        m_impl->findMatches(nameAt == 0 ? "." : pattern.substr(0, nameAt), wildcard);
}

FileSearch::~FileSearch() = default;

bool FileSearch::atEnd() const { return m_impl->at == m_impl->count; }

const char* FileSearch::name() const {
    return m_impl->plainName.empty() ? m_impl->entries.name(m_impl->at) : m_impl->plainName.c_str();
}

void FileSearch::advance() { ++m_impl->at; }

}  // namespace OrvoSupport::platform
