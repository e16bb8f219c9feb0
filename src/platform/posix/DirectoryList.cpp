// Listing a directory on Linux, by the kernel's own call: as fast as it gets, and sorted at the end.
#include "platform/posix/DirectoryList.h"

#include <string.h>

#include <algorithm>
#include <array>
#include <numeric>

namespace OrvoSupport::platform {
namespace {

constexpr std::size_t firstBlock = 32 * 1024;
constexpr std::size_t largestBlock = 64 * 1024;

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

constexpr std::size_t worthCounting = 256;

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

bool DirectoryList::hasSmallerName(const Entry& a, const Entry& b) {
    return ::strcmp(a.record->d_name, b.record->d_name) < 0;
}

/// Names of one directory tend to begin alike, so the keys start behind what all of them share. "." and ".."
/// would spoil that; they are put in their places afterwards.
void DirectoryList::sort() {
    const auto dots = std::partition(m_entries.begin(), m_entries.end(),
                                     [](const Entry& entry) { return !isDotOrDotDot(entry.record->d_name); });
    const std::vector<Entry> dotEntries(dots, m_entries.end());
    m_entries.erase(dots, m_entries.end());
    if (!m_entries.empty()) {
        const char* first = m_entries.front().record->d_name;
        std::size_t shared = ::strlen(first);
        for (const Entry& entry : m_entries) shared = commonLength(first, entry.record->d_name, shared);
        for (Entry& entry : m_entries) entry.key = keyOf(entry.record->d_name + shared);
        sortByKey();
        sortEqualKeys();
    }
    for (const Entry& entry : dotEntries)
        m_entries.insert(std::upper_bound(m_entries.begin(), m_entries.end(), entry, hasSmallerName), entry);
}

/// Comparing guesses wrong half of the time; from some size on, counting the values of one byte of the keys
/// after the other, from the last to the first, is several times as fast.
void DirectoryList::sortByKey() {
    const std::size_t size = m_entries.size();
    if (size < worthCounting) {
        std::sort(m_entries.begin(), m_entries.end(),
                  [](const Entry& a, const Entry& b) { return a.key < b.key; });
        return;
    }
    std::vector<Entry> sorted(size);
    for (int shift = 0; shift < 64; shift += 8) {
        const auto byteOf = [shift](const Entry& entry) { return (entry.key >> shift) & 0xFF; };
        std::array<std::size_t, 257> place{};
        for (const Entry& entry : m_entries) ++place[byteOf(entry) + 1];
        if (place[byteOf(m_entries.front()) + 1] == size) continue;
        std::partial_sum(place.begin(), place.end(), place.begin());
        for (const Entry& entry : m_entries) sorted[place[byteOf(entry)]++] = entry;
        m_entries.swap(sorted);
    }
}

void DirectoryList::sortEqualKeys() {
    for (auto run = m_entries.begin(); run != m_entries.end();) {
        const auto end =
            std::find_if(run, m_entries.end(), [run](const Entry& e) { return e.key != run->key; });
        if (end - run > 1) std::sort(run, end, hasSmallerName);
        run = end;
    }
}

}  // namespace OrvoSupport::platform
