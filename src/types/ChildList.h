// The children of a tree node.
#ifndef OSUPT_TYPES_CHILD_LIST_H
#define OSUPT_TYPES_CHILD_LIST_H

#include <atomic>
#include <cstddef>
#include <utility>
#include <vector>

#include "OrvoTreeNode.h"

namespace OrvoSupport {

/// A sequence of nodes, in blocks so that an insertion moves few of them. While the keys are in order a
/// search halves. Since anybody who has a child may change its key, each node knows the list that it is in.
///
/// Thread safety: as a standard container's.
class ChildList {
public:
    using Child = OrvoSmartPointer<OrvoTreeNode>;

    ChildList() = default;
    /// Shares the children.
    ChildList(const ChildList& other);
    ChildList& operator=(const ChildList&) = delete;
    ~ChildList();

    /// The child at a position; null past the end.
    OrvoTreeNode* at(std::size_t index) const;
    /// The first child with that key, or null.
    OrvoTreeNode* find(const string& key) const;

    /// At a position, or at the end.
    void insert(std::size_t index, Child child);
    /// In front of the first child with a greater key.
    void insertByKey(Child child);
    /// The same for a key that another child has: the first of them is taken out and returned. Without memory
    /// nothing changes.
    Child replace(Child child);

    /// What is taken out is returned, so that it goes when the list is in order again; null when there is no
    /// such child.
    Child remove(std::size_t index);
    Child remove(const string& key);

    /// Moves every child out in turn: the one at a cursor, which begins at {0, 0}, or null at the end. The
    /// list is good for nothing else then.
    struct Cursor {
        std::size_t block = 0;
        std::size_t offset = 0;
    };
    Child takeNext(Cursor& cursor);

    /// Changes the key of a node, whatever lists it is in.
    static void changeKey(OrvoTreeNode& node, const string& key);

private:
    /// A child, and the beginning of its key as a number that orders like it; most comparisons need no more.
    struct Entry {
        explicit Entry(Child node);
        Entry(const Entry& other) : beginning(other.beginning.load(relaxed)), child(other.child) {}
        Entry(Entry&& other) noexcept
            : beginning(other.beginning.load(relaxed)), child(std::move(other.child)) {}
        Entry& operator=(Entry&& other) noexcept {
            beginning.store(other.beginning.load(relaxed), relaxed);
            child = std::move(other.child);
            return *this;
        }

        mutable std::atomic<std::size_t> beginning;  // of the key at the last look, see inOrder()
        Child child;
    };
    using Block = std::vector<Entry>;
    static constexpr std::memory_order relaxed = std::memory_order_relaxed;

    bool inOrder() const;
    bool isKnownInOrder() const;
    void changeKeyOfChild(OrvoTreeNode& child, const string& key);
    void enter(OrvoTreeNode& child);
    void leave(OrvoTreeNode& child);
    Cursor positionOf(std::size_t index) const;
    Cursor positionOf(const string& key) const;
    Cursor positionOf(const OrvoTreeNode& child) const;
    Cursor behind(const string& key) const;
    Cursor next(Cursor cursor) const;
    template <class Predicate>
    Cursor firstByHalving(const string& key, Predicate comesBehind) const;
    template <class Predicate>
    Cursor firstByWalking(Predicate predicate) const;
    Cursor end() const { return {m_blocks.size(), 0}; }
    bool isEnd(Cursor cursor) const { return cursor.block == m_blocks.size(); }
    OrvoTreeNode* nodeAt(Cursor cursor) const { return m_blocks[cursor.block][cursor.offset].child.get(); }
    Cursor insertAt(Cursor cursor, Child child);
    Cursor makeRoom(Cursor cursor);
    bool fits(Cursor cursor) const;
    Child removeAt(Cursor cursor);

    // Of nodes in several lists: none of these lists knows whether it is affected.
    static std::atomic<std::size_t> s_keyChanges;

    std::vector<Block> m_blocks;  // none is empty
    // What the last look at the keys gave, and the number of changes it was made at; 0 is never.
    mutable std::atomic<std::size_t> m_lookedAt{0};
    mutable std::atomic<bool> m_wasInOrder{false};
};

}  // namespace OrvoSupport

#endif
