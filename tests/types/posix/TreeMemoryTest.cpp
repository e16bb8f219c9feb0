// Trees that meet the end of memory.
#include <gmock/gmock.h>

#include "support/FailingMemory.h"
#include "types/TreeNodes.h"

using namespace OrvoSupport;
using testing::ElementsAre;
using testing_support::allocationsLeft;
using testing_support::keysOf;
using testing_support::make;
using testing_support::Node;

namespace {

/// Repeats the action with memory for one allocation more each time, until it succeeds; returns how often it
/// failed.
template <class Action>
int failures(Action action) {
    for (int count = 0;; ++count) {
        allocationsLeft = count;
        try {
            action();
            allocationsLeft = -1;
            return count;
        } catch (const std::bad_alloc&) {
            allocationsLeft = -1;
        }
    }
}

struct Counted : OrvoTreeNode {
    explicit Counted(int& counter) : m_deaths(counter) {}
    ~Counted() override { ++m_deaths; }
    int& m_deaths;
};

TEST(TreeMemoryTest, aTreeEndsWithoutMemory) {
    int deaths = 0;
    {
        OrvoTreeNode root;
        Node parent = root.add(new Counted(deaths));
        for (int i = 1; i < 100; ++i) {
            parent->add(new Counted(deaths));
            parent = parent->add(new Counted(deaths));
        }
        parent = nullptr;
        allocationsLeft = 0;
    }
    allocationsLeft = -1;
    EXPECT_EQ(199, deaths);
}

TEST(TreeMemoryTest, aNodeThatCouldNotBeAddedLeavesTheTreeAsItWas) {
    OrvoTreeNode root;
    for (int i = 0; i < 256; ++i) root.add(make(std::to_string(1000 + i)));
    const Node node = make("1100x");
    const int failed = failures([&] { root.add(node); });
    EXPECT_LT(0, failed);
    const std::vector<string> keys = keysOf(root);
    EXPECT_EQ(257u, keys.size());
    EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
    EXPECT_EQ(node, root.getNode("1100x"));
    EXPECT_EQ(2u, node->refCount());
}

TEST(TreeMemoryTest, anAdditionAtAPathCanBeTriedAgain) {
    OrvoTreeNode root;
    const Node node = make("");
    EXPECT_LT(3, failures([&] {
                  std::vector<string> path{"a key that is too long for a string without memory", "b", "c"};
                  root.add(node, path);
              }));
    EXPECT_EQ("c", node->getKey());
    EXPECT_EQ(2u, node->refCount());
    EXPECT_THAT(keysOf(root), ElementsAre("a key that is too long for a string without memory"));
    EXPECT_THAT(keysOf(*root[0]), ElementsAre("b"));
    EXPECT_THAT(keysOf(*(*root[0])[0]), ElementsAre("c"));
}

TEST(TreeMemoryTest, aPlaceIsHeldUntilThereIsMemoryForWhatShallStandThere) {
    OrvoTreeNode root;
    const Node place = root.add(make("p"));
    const Node below = place->add(make("below"));
    const Node node = make("");
    EXPECT_LT(0, failures([&] {
                  EXPECT_EQ(place, root.getNode("p"));
                  EXPECT_EQ(below, (*place)[0]);
                  std::vector<string> path{"p"};
                  root.add(node, path);
              }));
    EXPECT_EQ(node, root.getNode("p"));
    EXPECT_THAT(keysOf(root), ElementsAre("p"));
    EXPECT_THAT(keysOf(*node), ElementsAre("below"));
}

TEST(TreeMemoryTest, anAssignmentThatFailsChangesNothing) {
    OrvoTreeNode root("r"), other("a key that is too long for a string without memory");
    root.add(make("x"));
    other.add(make("y"));
    EXPECT_LT(1, failures([&] {
                  EXPECT_EQ("r", root.getKey());
                  root = other;
              }));
    EXPECT_THAT(keysOf(root), ElementsAre("y"));
    EXPECT_EQ(other.getKey(), root.getKey());
}

}  // namespace
