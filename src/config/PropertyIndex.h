// The way from a key to its entry: a hash table of pointers.
#ifndef OSUPT_CONFIG_PROPERTY_INDEX_H
#define OSUPT_CONFIG_PROPERTY_INDEX_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <utility>
#include <vector>

#include "OrvoString.h"

namespace OrvoSupport {

/// Equal texts have equal hashes.
template <class Char>
std::size_t propertyHash(const std::basic_string<Char>& text) {
    return std::hash<std::basic_string<Char>>()(text);
}

/// Equal texts have equal hashes whatever the C locale says, now or after it has changed: upper and lower
/// case of a letter count the same, and so do all characters that some locale folds across the border of
/// ASCII (Turkish i, the Kelvin sign).
template <class Char>
std::size_t propertyHash(const std::basic_string<Char, char_traits_ci<Char>>& text) {
    std::uint32_t hash = 2166136261u;
    for (const Char c : text) {
        const Char lower = c >= 'A' && c <= 'Z' ? static_cast<Char>(c + ('a' - 'A')) : c;
        const auto number = static_cast<std::uint32_t>(lower);
        const bool foldsAnywhere = number > 127 || lower == 'i' || lower == 'k';
        hash = (hash ^ (foldsAnywhere ? 0u : number)) * 16777619u;
    }
    return hash;
}

/// Pointers to entries, found by their member `key`. An entry stands in one of a short stretch of slots; one
/// that finds them all taken goes to a tree, so that bad luck or malice with hashes costs a tree's time and
/// no more. Entries are not owned.
///
/// Thread safety: as a standard container's.
template <class Entry, class Key>
class PropertyIndex {
public:
    /// The entry with an equal key, or null.
    Entry* find(const Key& key) const {
        if (m_slots.empty()) return nullptr;
        const std::uint32_t tag = tagOf(key);
        for (std::size_t step = 0; step < stretch; ++step) {
            const Slot& slot = m_slots[place(tag, step)];
            if (slot.tag == emptyTag) return nullptr;
            if (slot.tag == tag && slot.entry->key == key) return slot.entry;
        }
        const auto found = m_leftOut.find(key);
        return found == m_leftOut.end() ? nullptr : *found;
    }

    /// Adds an entry whose key is not there. Without effect if memory runs out.
    void add(Entry* entry) {
        if ((m_used + 1) * 2 > m_slots.size()) rebuild();
        addTagged(entry, tagOf(entry->key));
        ++m_count;
    }

    /// Removes an entry that is there.
    void remove(Entry* entry) {
        --m_count;
        const std::uint32_t tag = tagOf(entry->key);
        for (std::size_t step = 0; step < stretch; ++step) {
            Slot& slot = m_slots[place(tag, step)];
            if (slot.tag != tag || slot.entry != entry) continue;
            slot = {nullptr, removedTag};
            return;
        }
        removeLeftOut(entry);
    }

    void swap(PropertyIndex& other) {
        m_slots.swap(other.m_slots);
        m_leftOut.swap(other.m_leftOut);
        std::swap(m_used, other.m_used);
        std::swap(m_count, other.m_count);
    }

private:
    struct Slot {
        Entry* entry = nullptr;
        std::uint32_t tag = emptyTag;
    };

    struct ByKey {
        using is_transparent = void;
        bool operator()(const Entry* a, const Entry* b) const { return a->key < b->key; }
        bool operator()(const Entry* a, const Key& b) const { return a->key < b; }
        bool operator()(const Key& a, const Entry* b) const { return a < b->key; }
    };

    static constexpr std::uint32_t emptyTag = 0;
    static constexpr std::uint32_t removedTag = 1;
    static constexpr std::size_t stretch = 32;

    static std::uint32_t tagOf(const Key& key) {
        return static_cast<std::uint32_t>(propertyHash(key)) | 2u;  // never empty, never removed
    }

    std::size_t place(std::uint32_t tag, std::size_t step) const {
        return ((tag >> 2) + step) & (m_slots.size() - 1);
    }

    void addTagged(Entry* entry, std::uint32_t tag) {
        for (std::size_t step = 0; step < stretch; ++step) {
            Slot& slot = m_slots[place(tag, step)];
            if (slot.tag > removedTag) continue;
            if (slot.tag == emptyTag) ++m_used;
            slot = {entry, tag};
            return;
        }
        m_leftOut.insert(entry);
    }

    // The tree's order follows the C locale; after a change of that, looking everywhere finds the entry.
    void removeLeftOut(Entry* entry) {
        auto found = m_leftOut.find(entry);
        if (found == m_leftOut.end() || *found != entry)
            found = std::find(m_leftOut.begin(), m_leftOut.end(), entry);
        if (found != m_leftOut.end()) m_leftOut.erase(found);
    }

    // Makes room for twice the entries there are and forgets removed ones.
    void rebuild() {
        std::size_t count = 2 * stretch;
        while (count < m_count * 4) count *= 2;
        PropertyIndex larger;
        larger.m_slots.resize(count);
        for (const Slot& slot : m_slots)
            if (slot.tag > removedTag) larger.addTagged(slot.entry, slot.tag);
        for (Entry* entry : m_leftOut) larger.addTagged(entry, tagOf(entry->key));
        larger.m_count = m_count;
        swap(larger);
    }

    std::vector<Slot> m_slots;  // a power of two, or none before the first entry
    std::multiset<Entry*, ByKey> m_leftOut;
    std::size_t m_used = 0;  // slots that are not empty, removed ones among them
    std::size_t m_count = 0;
};

}  // namespace OrvoSupport

#endif
