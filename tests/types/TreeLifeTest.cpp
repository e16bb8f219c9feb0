// How nodes of a tree end.
#include <gmock/gmock.h>

#include <functional>
#include <thread>

#include "types/TreeNodes.h"

using namespace OrvoSupport;
using testing::ElementsAre;
using testing_support::keysOf;
using testing_support::make;
using testing_support::Node;

namespace {

/// Notes that it ends, and how many children it had then.
class Mortal : public OrvoTreeNode {
public:
    Mortal(const string& key, std::vector<string>& deaths) : OrvoTreeNode(key), m_deaths(deaths) {}
    ~Mortal() override { m_deaths.push_back(getKey() + std::to_string(keysOf(*this).size())); }

private:
    std::vector<string>& m_deaths;
};

/// Holds a tree beside its children.
class Owner : public Mortal {
public:
    using Mortal::Mortal;
    ~Owner() override {
        held = nullptr;
        afterHeld = deathsSoFar();
    }
    std::function<std::size_t()> deathsSoFar;
    static std::size_t afterHeld;
    Node held;
};
std::size_t Owner::afterHeld = 0;

Node chain(int depth) {
    Node top = make("k");
    for (int i = 1; i < depth; ++i) {
        const Node parent = make("k");
        parent->add(top);
        top = parent;
    }
    return top;
}

TEST(TreeLifeTest, endsParentsBeforeChildrenAndChildrenInTheirOrder) {
    std::vector<string> deaths;
    {
        OrvoTreeNode root;
        for (const char* path : {"b", "a", "a/y", "a/x", "a/x/1", "a/x/2", "b/z", "c"})
            root.add(new Mortal(path, deaths), "/");
    }
    EXPECT_THAT(deaths, ElementsAre("a2", "x2", "10", "20", "y0", "b1", "z0", "c0"));
}

TEST(TreeLifeTest, leavesNodesThatSomebodyHolds) {
    std::vector<string> deaths;
    Node held;
    {
        OrvoTreeNode root, other;
        held = root.add(new Mortal("a", deaths));
        held->add(new Mortal("b", deaths));
        other.add(root.add(new Mortal("c", deaths)));
        root.erase("c");
        EXPECT_THAT(deaths, ElementsAre());
    }
    EXPECT_THAT(deaths, ElementsAre("c0"));
    EXPECT_EQ(1u, held->refCount());
    held = nullptr;
    EXPECT_THAT(deaths, ElementsAre("c0", "a1", "b0"));
}

TEST(TreeLifeTest, endsWhatIsErasedOrReplaced) {
    std::vector<string> deaths;
    OrvoTreeNode root;
    for (const char* key : {"a", "b", "c"}) root.add(new Mortal(key, deaths));
    root.erase(0);
    root.erase("b");
    EXPECT_THAT(deaths, ElementsAre("a0", "b0"));
    root = OrvoTreeNode();
    EXPECT_THAT(deaths, ElementsAre("a0", "b0", "c0"));
}

TEST(TreeLifeTest, isDoneWithAnotherTreeBeforeItsHoldersDestructorGoesOn) {
    std::vector<string> deaths;
    Node root = make("");
    auto* owner = new Owner("owner", deaths);
    root->add(owner);
    owner->add(new Mortal("child", deaths));
    owner->deathsSoFar = [&] { return deaths.size(); };
    owner->held = new Mortal("x", deaths);
    owner->held->add(new Mortal("y", deaths));
    root = nullptr;
    EXPECT_EQ(2u, Owner::afterHeld);
    EXPECT_THAT(deaths, ElementsAre("x1", "y0", "owner1", "child0"));
}

/// Does something when it ends.
class Ending : public OrvoTreeNode {
public:
    Ending(const string& key, std::function<void()> action)
        : OrvoTreeNode(key), m_action(std::move(action)) {}
    ~Ending() override { m_action(); }

private:
    std::function<void()> m_action;
};

TEST(TreeLifeTest, bearsThatANodeThatEndsRenamesItsSiblings) {
    for (const char* key : {"a", "k", "z"}) {
        Node parent = make("");
        const Node sibling = make("k");
        const Node last = make("k");
        parent->add(new Ending("k", [&] {
            sibling->setKey(key);
            last->setKey(sibling->getKey());
        }));
        parent->add(sibling);
        parent->add(last);
        parent = nullptr;
        EXPECT_EQ(key, last->getKey());

        OrvoTreeNode other;
        other.add(make("m"));
        other.add(sibling)->setKey("y");
        EXPECT_THAT(keysOf(other), testing::Contains("y"));
        EXPECT_EQ(sibling, other.getNode("y"));
        EXPECT_EQ(1u, last->refCount());
    }
}

TEST(TreeLifeTest, endsTreesOfAnyDepth) {
    Node tree = chain(100000);
    tree = nullptr;

    OrvoTreeNode root;
    root.add(chain(100000));
    root.add(chain(100000));
    root.erase(0);
    root = OrvoTreeNode();
    EXPECT_EQ(nullptr, root[0]);
}

TEST(TreeLifeTest, endsADeepTreeInAnyThread) {
    Node tree = chain(100000);
    std::thread([&] { tree = nullptr; }).join();
    EXPECT_EQ(nullptr, tree);
}

TEST(TreeLifeTest, endsSharedNodesOnceWhereverTheLastHolderGoes) {
    constexpr int count = 2000;
    std::atomic<int> deaths{0};
    struct Counted : OrvoTreeNode {
        explicit Counted(std::atomic<int>& deaths) : m_deaths(deaths) {}
        ~Counted() override { ++m_deaths; }
        std::atomic<int>& m_deaths;
    };
    Node first = make(""), second = make("");
    Node below;
    for (int i = 0; i < count; ++i) {
        const Node node = new Counted(deaths);
        if (below) node->add(below);
        if (i % 3 == 0) first->add(node);
        if (i % 5 == 0) second->add(node);
        below = node;
    }
    first->add(below);
    below = nullptr;
    std::thread other([&] { first = nullptr; });
    second = nullptr;
    other.join();
    EXPECT_EQ(count, deaths);
}

}  // namespace
