// Single steps on files and directories. Paths may use "/" and "\" and be of any length the file system
// takes.
#ifndef OSUPT_PLATFORM_FILES_H
#define OSUPT_PLATFORM_FILES_H

#include <memory>
#include <string>

namespace OrvoSupport::platform {

/// Creates one directory: 0, or an errno value. ENOENT means that the parent is missing or is no directory.
int createDirectory(const std::string& path);

/// Whether the path leads to something, a link counting as what it leads to.
bool pathExists(const std::string& path);

/// A running search for the entries that match a pattern with wildcards in its last component, as the public
/// class describes it. A search that cannot start is at its end.
class FileSearch {
public:
    explicit FileSearch(const std::string& pattern);
    ~FileSearch();
    FileSearch(const FileSearch&) = delete;
    FileSearch& operator=(const FileSearch&) = delete;

    bool atEnd() const;
    /// The name of the current entry; there must be one. Valid until the search advances.
    const char* name() const;
    void advance();

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace OrvoSupport::platform

#endif
