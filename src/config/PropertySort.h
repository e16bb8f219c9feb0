// Sorting many entries by their keys.
#ifndef OSUPT_CONFIG_PROPERTY_SORT_H
#define OSUPT_CONFIG_PROPERTY_SORT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

#include "OrvoString.h"

namespace OrvoSupport {

/// Sorts pointers to entries by the member `key`, as its string type compares. Keys lie all over the memory,
/// and fetching them takes longer than comparing them: a few characters of each are copied side by side,
/// from where the keys begin to differ, and keys that agree in these are sorted by those that follow.
///
/// Thread safety: none.
template <class Entry>
class PropertySort {
public:
    struct Item {
        Entry* entry;
        std::uint64_t piece;  // some characters of the key; it orders as they do
    };

    static void sort(std::vector<Item>& items) { sortFrom(0, items.data(), items.data() + items.size()); }

private:
    using Key = decltype(Entry::key);
    using Char = typename Key::value_type;

    static constexpr std::size_t pieceLength = sizeof(std::uint64_t) / sizeof(Char);
    static constexpr std::ptrdiff_t fewItems = 24;  // sorted faster than they are copied

    // All keys are alike in front of `begin`.
    static void sortFrom(std::size_t begin, Item* first, Item* last) {
        if (last - first <= fewItems || !skipCommon(begin, first, last)) {
            std::sort(first, last, [](const Item& a, const Item& b) { return a.entry->key < b.entry->key; });
            return;
        }
        for (Item* item = first; item != last; ++item) item->piece = pieceAt(begin, item->entry->key);
        std::sort(first, last, [](const Item& a, const Item& b) { return a.piece < b.piece; });
        while (first != last) {
            Item* const run = first;
            while (first != last && first->piece == run->piece) ++first;
            sortFrom(begin + pieceLength, run, first);
        }
    }

    // Moves `begin` to where the keys begin to differ. False if a key ends in front of it: its piece was
    // filled with zeros, as if it had characters of that number.
    static bool skipCommon(std::size_t& begin, const Item* first, const Item* last) {
        const Key& model = first->entry->key;
        std::size_t end = model.size();
        for (const Item* item = first; item != last; ++item) {
            const Key& key = item->entry->key;
            end = std::min(end, key.size());
            if (end < begin) return false;
            std::size_t i = begin;
            while (i < end && rank(key[i]) == rank(model[i])) ++i;
            end = i;
        }
        begin = end;
        return true;
    }

    static std::uint64_t pieceAt(std::size_t begin, const Key& key) {
        std::uint64_t piece = 0;
        for (std::size_t i = 0; i < pieceLength; ++i) {
            const std::uint64_t next = begin + i < key.size() ? rank(key[begin + i]) : 0;
            piece |= next << 8 * sizeof(Char) * (pieceLength - 1 - i);
        }
        return piece;
    }

    // A number without sign that orders as the character does.
    static std::uint64_t rank(Char c) {
        if constexpr (std::is_same_v<typename Key::traits_type, char_traits_ci<Char>>)
            c = char_traits_ci<Char>::fold(c);
        if constexpr (sizeof(Char) == 1) return static_cast<unsigned char>(c);
        const auto lowest = static_cast<std::int64_t>(std::numeric_limits<Char>::min());
        return static_cast<std::uint64_t>(static_cast<std::int64_t>(c) - lowest);
    }
};

}  // namespace OrvoSupport

#endif
