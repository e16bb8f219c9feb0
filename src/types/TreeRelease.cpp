#include "types/TreeRelease.h"

#include <new>
#include <utility>
#include <vector>

#include "types/ChildList.h"

namespace OrvoSupport {
namespace {

class TreeRelease {
public:
    /// The innermost one of this thread; null outside.
    static TreeRelease*& running() {
        static thread_local TreeRelease* release = nullptr;
        return release;
    }

    TreeRelease() : m_outer(std::exchange(running(), this)) {}
    TreeRelease(const TreeRelease&) = delete;
    TreeRelease& operator=(const TreeRelease&) = delete;
    ~TreeRelease() { running() = m_outer; }

    /// Whether the node is the one that is given up at this moment. Others that go meanwhile, because a
    /// destructor of a derived class holds them, must be gone when that destructor goes on.
    bool isGivingUp(const OrvoTreeNode& node) const { return m_node == &node; }

    void take(std::unique_ptr<ChildList> children) { m_lists.push_back({std::move(children), {}}); }

    void run() {
        while (!m_lists.empty()) {
            List& list = m_lists.back();
            ChildList::Child child = list.children->takeNext(list.next);
            if (child) {
                m_node = child.get();
                child = nullptr;
                m_node = nullptr;
            } else {
                m_lists.pop_back();
            }
        }
    }

private:
    struct List {
        std::unique_ptr<ChildList> children;
        ChildList::Cursor next;
    };

    TreeRelease* const m_outer;
    const OrvoTreeNode* m_node = nullptr;
    std::vector<List> m_lists;
};

}  // namespace

void releaseChildren(const OrvoTreeNode& node, std::unique_ptr<ChildList> children) noexcept {
    try {
        TreeRelease* const running = TreeRelease::running();
        if (running && running->isGivingUp(node)) {
            running->take(std::move(children));
        } else {
            TreeRelease release;
            release.take(std::move(children));
            release.run();
        }
    } catch (const std::bad_alloc&) {
        // Without memory for the list the children go in a call of their own.
    }
}

}  // namespace OrvoSupport
