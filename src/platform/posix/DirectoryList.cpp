// Listing a directory on Linux, by the kernel's own call: as fast as it gets, and sorted at the end.
#include "platform/posix/DirectoryList.h"

#include <string.h>

#include <algorithm>

namespace OrvoSupport::platform {
namespace {

constexpr std::size_t firstBlock = 32 * 1024;
constexpr std::size_t largestBlock = 1024 * 1024;

bool isDotOrDotDot(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

std::size_t commonLength(const char* a, const char* b, std::size_t limit) {
    std::size_t length = 0;
    while (length < limit && a[length] == b[length] && a[length] != '\0') ++length;
    return length;
}

std::uint64_t keyOf(const char* text) {
    std::uint64_t key = 0;
    int shift = 56;
    for (; shift >= 0 && *text != '\0'; shift -= 8, ++text)
        key |= static_cast<std::uint64_t>(static_cast<unsigned char>(*text)) << shift;
    return key;
}

}  // namespace

void DirectoryList::read(int directory, const Wildcard* pattern) {
    std::size_t size = firstBlock;
    for (;;) {
        std::unique_ptr<char[]> block(new char[size]);
        const ssize_t result = ::getdents64(directory, block.get(), size);
        if (result <= 0) break;
        const auto used = static_cast<std::size_t>(result);
        if (used <= size / 2) {
            // Small directories, of which a deep tree has many open at once, keep no more than they need.
            std::unique_ptr<char[]> exact(new char[used]);
            ::memcpy(exact.get(), block.get(), used);
            block = std::move(exact);
        } else {
            size = std::min(size * 2, largestBlock);
        }
        collect(block.get(), used, pattern);
        m_blocks.push_back(std::move(block));
    }
    sort();
}

void DirectoryList::collect(const char* block, std::size_t used, const Wildcard* pattern) {
    for (std::size_t at = 0; at < used;) {
        const auto* record = reinterpret_cast<const dirent64*>(block + at);
        at += record->d_reclen;
        if (pattern ? pattern->matches(record->d_name) : !isDotOrDotDot(record->d_name))
            m_entries.push_back({0, record});
    }
}

/// Names of one directory tend to begin alike, so the keys start behind what all of them share. "." and ".."
/// would spoil that; they are put in their places afterwards.
void DirectoryList::sort() {
    const auto byName = [](const Entry& a, const Entry& b) {
        return ::strcmp(a.record->d_name, b.record->d_name) < 0;
    };
    const auto dots = std::partition(m_entries.begin(), m_entries.end(),
                                     [](const Entry& entry) { return !isDotOrDotDot(entry.record->d_name); });
    if (dots != m_entries.begin()) {
        const char* first = m_entries.front().record->d_name;
        std::size_t shared = ::strlen(first);
        for (auto entry = m_entries.begin(); entry != dots; ++entry)
            shared = commonLength(first, entry->record->d_name, shared);
        for (auto entry = m_entries.begin(); entry != dots; ++entry)
            entry->key = keyOf(entry->record->d_name + shared);
    }
    std::sort(m_entries.begin(), dots, [byName](const Entry& a, const Entry& b) {
        return a.key != b.key ? a.key < b.key : byName(a, b);
    });
    std::sort(dots, m_entries.end(), byName);
    std::inplace_merge(m_entries.begin(), dots, m_entries.end(), byName);
}

}  // namespace OrvoSupport::platform
