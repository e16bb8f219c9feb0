// All entries of a directory at once.
#ifndef OSUPT_PLATFORM_POSIX_DIRECTORY_LIST_H
#define OSUPT_PLATFORM_POSIX_DIRECTORY_LIST_H

#include <dirent.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "os/Wildcard.h"

namespace OrvoSupport::platform {

/// The entries of a directory in byte order of their names. The names stay where the kernel wrote them;
/// nothing is copied and no descriptor is kept.
class DirectoryList {
public:
    /// Reads an open directory to its end, or to the first error: the entries that match, or without a
    /// pattern all but "." and "..".
    void read(int directory, const Wildcard* pattern);

    std::size_t size() const { return m_entries.size(); }
    const char* name(std::size_t at) const { return m_entries[at].record->d_name; }
    /// DT_DIR, DT_REG and so on; DT_UNKNOWN where the file system does not say.
    unsigned char type(std::size_t at) const { return m_entries[at].record->d_type; }

private:
    struct Entry {
        std::uint64_t key;  // the first bytes in which names differ, as a number that orders like them
        const dirent64* record;
    };
    void collect(const char* block, std::size_t used, const Wildcard* pattern);
    static bool hasSmallerName(const Entry& a, const Entry& b);
    void sort();
    void sortByKey();
    void sortEqualKeys();

    std::vector<std::unique_ptr<char[]>> m_blocks;
    std::vector<Entry> m_entries;
};

}  // namespace OrvoSupport::platform

#endif
