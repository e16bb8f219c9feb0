// The entries of a property store, which are looked up far more often than they are sorted.
#ifndef OSUPT_CONFIG_PROPERTY_TABLE_H
#define OSUPT_CONFIG_PROPERTY_TABLE_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "OrvoCriticalSection.h"
#include "config/PropertyIndex.h"
#include "config/PropertySort.h"

namespace OrvoSupport {

/// Keys, each with at least one value. New entries are sorted in only when somebody asks for the order.
/// Removed ones keep their place, without values, until they outnumber the others.
///
/// Thread safety: as a standard container's; asking for the order counts as reading.
template <class StringType>
class PropertyTable {
public:
    struct Entry {
        StringType key;
        std::vector<StringType> values;  // none: removed
    };
    using Entries = std::vector<std::unique_ptr<Entry>>;

    PropertyTable() = default;
    PropertyTable(const PropertyTable& other) {
        for (const auto& entry : other.ordered())
            if (!entry->values.empty()) add(std::make_unique<Entry>(*entry));
    }
    PropertyTable& operator=(const PropertyTable&) = delete;

    void swap(PropertyTable& other) {
        m_entries.swap(other.m_entries);
        m_index.swap(other.m_index);
        std::swap(m_sorted, other.m_sorted);
        std::swap(m_removed, other.m_removed);
        ++m_changes;
        ++other.m_changes;
    }

    /// The values of the key, or null.
    std::vector<StringType>* find(const StringType& key) {
        Entry* entry = m_index.find(key);
        return entry ? &entry->values : nullptr;
    }

    /// Adds a key that is not there.
    template <class Key, class Value>
    void insert(Key&& key, Value&& value) {
        auto entry = std::make_unique<Entry>();
        entry->key = std::forward<Key>(key);
        entry->values.push_back(std::forward<Value>(value));
        add(std::move(entry));
    }

    void erase(const StringType& key) {
        Entry* entry = m_index.find(key);
        if (!entry) return;
        m_index.remove(entry);
        std::vector<StringType>().swap(entry->values);
        if (++m_removed > m_entries.size() / 2) forgetRemoved();
    }

    /// All entries by key; skip those without values. Places stay as they are while changes() does not
    /// change.
    const Entries& ordered() const {
        OrvoCriticalSection guard(m_orderLock);
        if (m_sorted < m_entries.size()) sortIn();
        return m_entries;
    }

    /// Differs after places in the order have become others.
    std::size_t changes() const { return m_changes; }

    /// The place of the first entry behind the key.
    std::size_t placeBehind(const StringType& key) const {
        const Entries& entries = ordered();
        const auto behind = std::upper_bound(entries.begin(), entries.end(), key,
                                             [](const StringType& a, const auto& b) { return a < b->key; });
        return static_cast<std::size_t>(behind - entries.begin());
    }

private:
    static bool inOrder(const std::unique_ptr<Entry>& a, const std::unique_ptr<Entry>& b) {
        return a->key < b->key;
    }

    void add(std::unique_ptr<Entry> entry) {
        if (m_entries.size() == m_entries.capacity()) m_entries.reserve(2 * m_entries.size() + 8);
        m_index.add(entry.get());
        m_entries.push_back(std::move(entry));
        ++m_changes;
        // Saved files are sorted: nothing is left to do for them.
        const std::size_t last = m_entries.size() - 1;
        if (m_sorted == last && (last == 0 || inOrder(m_entries[last - 1], m_entries[last]))) ++m_sorted;
    }

    void forgetRemoved() {
        std::size_t kept = 0;
        std::size_t sorted = 0;
        for (std::size_t i = 0; i < m_entries.size(); ++i) {
            if (m_entries[i]->values.empty()) continue;
            if (i < m_sorted) ++sorted;
            if (i != kept) m_entries[kept] = std::move(m_entries[i]);
            ++kept;
        }
        m_entries.resize(kept);
        m_sorted = sorted;
        m_removed = 0;
        ++m_changes;
    }

    void sortIn() const {
        const auto unsorted = m_entries.begin() + static_cast<std::ptrdiff_t>(m_sorted);
        if (m_entries.end() - unsorted <= fewEntries) {
            for (auto next = unsorted; next != m_entries.end(); ++next)
                std::rotate(std::upper_bound(m_entries.begin(), next, *next, inOrder), next, next + 1);
        } else {
            // A few that happen to be in order are not worth a merge.
            const auto first = m_sorted < m_entries.size() / 8 ? m_entries.begin() : unsorted;
            sortMany(first, m_entries.end());
            std::inplace_merge(m_entries.begin(), first, m_entries.end(), inOrder);
        }
        m_sorted = m_entries.size();
        ++m_changes;
    }

    static void sortMany(typename Entries::iterator first, typename Entries::iterator last) {
        using Sort = PropertySort<Entry>;
        std::vector<typename Sort::Item> items;
        items.reserve(static_cast<std::size_t>(last - first));
        for (auto entry = first; entry != last; ++entry) items.push_back({entry->get(), 0});
        Sort::sort(items);
        std::for_each(first, last, [](auto& entry) { entry.release(); });
        for (const auto& item : items) (first++)->reset(item.entry);
    }

    static constexpr std::ptrdiff_t fewEntries = 8;  // cheaper to put in their places one by one

    mutable Entries m_entries;
    PropertyIndex<Entry, StringType> m_index;
    mutable OrvoCriticalSectionObject m_orderLock;
    mutable std::size_t m_sorted = 0;  // how many entries at the beginning are in order
    mutable std::size_t m_changes = 0;
    std::size_t m_removed = 0;  // entries without values
};

}  // namespace OrvoSupport

#endif
