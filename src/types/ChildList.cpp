#include "types/ChildList.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace OrvoSupport {
namespace {

constexpr std::size_t blockSize = 256;

using Child = ChildList::Child;

/// The first bytes of a key as a number that is greater for greater keys, or equal.
std::size_t beginningOf(const string& key) {
    unsigned char bytes[sizeof(std::size_t)] = {};
    std::memcpy(bytes, key.data(), std::min(key.size(), sizeof bytes));
    std::size_t number = 0;
    for (const unsigned char byte : bytes) number = number << 8 | byte;
    return number;
}

}  // namespace

std::atomic<std::size_t> ChildList::s_keyChanges{1};

ChildList::Entry::Entry(Child node) : beginning(beginningOf(node->getKey())), child(std::move(node)) {}

ChildList::ChildList(const ChildList& other) : m_blocks(other.m_blocks) {
    for (const Block& block : m_blocks)
        for (const Entry& entry : block) enter(*entry.child);
}

ChildList::~ChildList() {
    for (const Block& block : m_blocks)
        for (const Entry& entry : block)
            if (entry.child) leave(*entry.child);
}

OrvoTreeNode* ChildList::at(std::size_t index) const {
    const Cursor cursor = positionOf(index);
    return isEnd(cursor) ? nullptr : nodeAt(cursor);
}

OrvoTreeNode* ChildList::find(const string& key) const {
    const Cursor cursor = positionOf(key);
    return isEnd(cursor) ? nullptr : nodeAt(cursor);
}

void ChildList::insert(std::size_t index, Child child) {
    const Cursor cursor = insertAt(positionOf(index), std::move(child));
    if (m_wasInOrder.load(relaxed)) m_wasInOrder.store(fits(cursor), relaxed);
}

void ChildList::insertByKey(Child child) {
    const string& key = child->getKey();
    insertAt(behind(key), std::move(child));
}

Child ChildList::replace(Child child) {
    const string& key = child->getKey();
    // Inserted before anything is removed, since it may fail.
    const Cursor inserted = insertAt(behind(key), std::move(child));
    Cursor first = positionOf(key);
    if (first.block == inserted.block && first.offset == inserted.offset) {
        do {
            first = next(first);
        } while (nodeAt(first)->getKey() != key);
    }
    return removeAt(first);
}

Child ChildList::remove(std::size_t index) { return removeAt(positionOf(index)); }
Child ChildList::remove(const string& key) { return removeAt(positionOf(key)); }

Child ChildList::takeNext(Cursor& cursor) {
    if (isEnd(cursor)) return nullptr;
    // Places that are empty from now on must not be compared when a child that is still here gets another
    // key.
    m_wasInOrder.store(false, relaxed);
    Block& block = m_blocks[cursor.block];
    Child child = std::move(block[cursor.offset].child);
    leave(*child);
    cursor = next(cursor);
    return child;
}

void ChildList::changeKey(OrvoTreeNode& node, const string& key) {
    if (node.m_isInSeveral.load(relaxed)) {
        if (node.m_key != key) s_keyChanges.fetch_add(1, relaxed);
    } else if (ChildList* const list = node.m_list.load(relaxed)) {
        return list->changeKeyOfChild(node, key);
    }
    node.m_key = key;
}

void ChildList::changeKeyOfChild(OrvoTreeNode& child, const string& key) {
    const Cursor cursor = isKnownInOrder() ? positionOf(child) : end();
    child.m_key = key;
    if (isEnd(cursor)) {
        m_lookedAt.store(0, relaxed);
    } else {
        m_blocks[cursor.block][cursor.offset].beginning.store(beginningOf(key), relaxed);
        m_wasInOrder.store(fits(cursor), relaxed);
    }
}

// Several lists, and so several threads, may have to do with one node.
void ChildList::enter(OrvoTreeNode& child) {
    ChildList* none = nullptr;
    if (!child.m_list.compare_exchange_strong(none, this, relaxed)) child.m_isInSeveral.store(true, relaxed);
}

void ChildList::leave(OrvoTreeNode& child) {
    ChildList* self = this;
    child.m_list.compare_exchange_strong(self, nullptr, relaxed);
}

bool ChildList::isKnownInOrder() const {
    return m_lookedAt.load(std::memory_order_acquire) == s_keyChanges.load(relaxed) &&
           m_wasInOrder.load(relaxed);
}

// Several readers may look at the same time: they all find the same.
bool ChildList::inOrder() const {
    const std::size_t changes = s_keyChanges.load(relaxed);
    if (m_lookedAt.load(std::memory_order_acquire) == changes) return m_wasInOrder.load(relaxed);

    bool inOrder = true;
    const string* last = nullptr;
    for (auto block = m_blocks.begin(); inOrder && block != m_blocks.end(); ++block) {
        for (auto entry = block->begin(); inOrder && entry != block->end(); ++entry) {
            const string& key = entry->child->getKey();
            entry->beginning.store(beginningOf(key), relaxed);
            inOrder = !last || *last <= key;
            last = &key;
        }
    }
    m_wasInOrder.store(inOrder, relaxed);
    m_lookedAt.store(changes, std::memory_order_release);
    return inOrder;
}

ChildList::Cursor ChildList::positionOf(std::size_t index) const {
    std::size_t block = 0;
    while (block < m_blocks.size() && index >= m_blocks[block].size()) index -= m_blocks[block++].size();
    return {block, block < m_blocks.size() ? index : 0};
}

/// Of the first child with the key, or the end.
ChildList::Cursor ChildList::positionOf(const string& key) const {
    if (!inOrder()) return firstByWalking([&](const string& other) { return other == key; });
    const Cursor cursor = firstByHalving(key, [&](const string& other) { return key <= other; });
    if (isEnd(cursor)) return cursor;
    const Entry& entry = m_blocks[cursor.block][cursor.offset];
    const bool found = entry.beginning.load(relaxed) == beginningOf(key) && entry.child->getKey() == key;
    return found ? cursor : end();
}

/// Of the first child with a greater key, or the end.
ChildList::Cursor ChildList::behind(const string& key) const {
    return inOrder() ? firstByHalving(key, [&](const string& other) { return key < other; })
                     : firstByWalking([&](const string& other) { return key < other; });
}

/// Of a child of a list in order, or the end where too many others have its key to look at them all.
ChildList::Cursor ChildList::positionOf(const OrvoTreeNode& child) const {
    Cursor cursor = positionOf(child.m_key);
    for (std::size_t passed = 0; nodeAt(cursor) != &child; cursor = next(cursor))
        if (++passed == blockSize) return end();
    return cursor;
}

ChildList::Cursor ChildList::next(Cursor cursor) const {
    const bool isLast = cursor.offset + 1 == m_blocks[cursor.block].size();
    return isLast ? Cursor{cursor.block + 1, 0} : Cursor{cursor.block, cursor.offset + 1};
}

/// The first child whose key comes behind `key`, as the predicate says of keys that begin alike.
template <class Predicate>
ChildList::Cursor ChildList::firstByHalving(const string& key, Predicate comesBehind) const {
    const auto comesBefore = [&, beginning = beginningOf(key)](const Entry& entry) {
        const std::size_t other = entry.beginning.load(relaxed);
        return other == beginning ? !comesBehind(entry.child->getKey()) : other < beginning;
    };
    const auto block = std::partition_point(m_blocks.begin(), m_blocks.end(),
                                            [&](const Block& b) { return comesBefore(b.back()); });
    if (block == m_blocks.end()) return end();
    const auto entry = std::partition_point(block->begin(), block->end(), comesBefore);
    return {static_cast<std::size_t>(block - m_blocks.begin()),
            static_cast<std::size_t>(entry - block->begin())};
}

template <class Predicate>
ChildList::Cursor ChildList::firstByWalking(Predicate predicate) const {
    for (std::size_t block = 0; block < m_blocks.size(); ++block) {
        const Block& entries = m_blocks[block];
        const auto entry = std::find_if(entries.begin(), entries.end(),
                                        [&](const Entry& e) { return predicate(e.child->getKey()); });
        if (entry != entries.end()) return {block, static_cast<std::size_t>(entry - entries.begin())};
    }
    return end();
}

/// Returns where the child came to stand.
ChildList::Cursor ChildList::insertAt(Cursor cursor, Child child) {
    cursor = makeRoom(cursor);
    Block& block = m_blocks[cursor.block];
    OrvoTreeNode& node = *child;
    block.emplace(block.begin() + static_cast<std::ptrdiff_t>(cursor.offset), std::move(child));
    enter(node);
    return cursor;
}

/// Where to insert what shall stand in front of the cursor: a place in a block that is not full.
ChildList::Cursor ChildList::makeRoom(Cursor cursor) {
    if (isEnd(cursor)) {
        if (m_blocks.empty() || m_blocks.back().size() == blockSize) {
            Block last;
            last.reserve(m_blocks.empty() ? 1 : blockSize);
            m_blocks.push_back(std::move(last));
        }
        return {m_blocks.size() - 1, m_blocks.back().size()};
    }
    if (m_blocks[cursor.block].size() < blockSize) return cursor;

    // The memory first: once it is there nothing fails.
    Block upper;
    upper.reserve(blockSize);
    const auto next =
        m_blocks.insert(m_blocks.begin() + static_cast<std::ptrdiff_t>(cursor.block) + 1, std::move(upper));
    Block& lower = *std::prev(next);
    const auto middle = lower.begin() + blockSize / 2;
    std::move(middle, lower.end(), std::back_inserter(*next));
    lower.erase(middle, lower.end());
    if (cursor.offset > lower.size()) return {cursor.block + 1, cursor.offset - lower.size()};
    return cursor;
}

/// Whether the child at the cursor is in order with the ones beside it.
bool ChildList::fits(Cursor cursor) const {
    const string& key = nodeAt(cursor)->getKey();
    if (cursor.offset > 0) {
        if (key < nodeAt({cursor.block, cursor.offset - 1})->getKey()) return false;
    } else if (cursor.block > 0) {
        if (key < m_blocks[cursor.block - 1].back().child->getKey()) return false;
    }
    if (cursor.offset + 1 < m_blocks[cursor.block].size())
        return key <= nodeAt({cursor.block, cursor.offset + 1})->getKey();
    return cursor.block + 1 == m_blocks.size() || key <= m_blocks[cursor.block + 1].front().child->getKey();
}

Child ChildList::removeAt(Cursor cursor) {
    if (isEnd(cursor)) return nullptr;
    Block& block = m_blocks[cursor.block];
    const auto place = block.begin() + static_cast<std::ptrdiff_t>(cursor.offset);
    Child child = std::move(place->child);
    leave(*child);
    block.erase(place);
    if (block.empty()) m_blocks.erase(m_blocks.begin() + static_cast<std::ptrdiff_t>(cursor.block));
    // What was out of order may be in order now.
    if (!m_wasInOrder.load(relaxed)) m_lookedAt.store(0, relaxed);
    return child;
}

}  // namespace OrvoSupport
