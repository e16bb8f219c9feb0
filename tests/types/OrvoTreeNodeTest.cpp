// Children of a tree node: order, positions, keys, copies.
#include <gmock/gmock.h>

#include <random>
#include <thread>

#include "OrvoException.h"
#include "types/TreeNodes.h"

using namespace OrvoSupport;
using testing::ElementsAre;
using testing::IsEmpty;
using testing_support::DataNode;
using testing_support::keysOf;
using testing_support::make;
using testing_support::Node;

namespace {

void addAll(OrvoTreeNode& parent, const std::vector<string>& keys) {
    for (const string& key : keys) parent.add(make(key));
}

TEST(OrvoTreeNodeTest, beginsWithAKeyAndWithoutChildren) {
    OrvoTreeNode node;
    EXPECT_EQ("", node.getKey());
    EXPECT_THAT(keysOf(node), IsEmpty());
    EXPECT_EQ(0u, node.refCount());
    EXPECT_EQ("k", OrvoTreeNode("k").getKey());
}

TEST(OrvoTreeNodeTest, takesANewKey) {
    OrvoTreeNode node("a");
    node.setKey("b");
    EXPECT_EQ("b", node.getKey());
    node = string("c");
    EXPECT_EQ("c", node.getKey());
}

TEST(OrvoTreeNodeTest, knowsTheNameOfItsClass) {
    OrvoTreeNode node;
    EXPECT_EQ("OrvoSupport::OrvoTreeNode", node.getClassName());
    EXPECT_FALSE(node.isA("OrvoTreeNode"));
}

TEST(OrvoTreeNodeTest, addsInTheOrderOfTheKeys) {
    OrvoTreeNode root;
    const Node b = make("b");
    EXPECT_EQ(b, root.add(b));
    addAll(root, {"a", "c"});
    EXPECT_THAT(keysOf(root), ElementsAre("a", "b", "c"));

    const Node second = make("b");
    root.add(second);
    EXPECT_THAT(keysOf(root), ElementsAre("a", "b", "b", "c"));
    EXPECT_EQ(b, root[1]);
    EXPECT_EQ(second, root[2]);
}

TEST(OrvoTreeNodeTest, ordersKeysByTheirBytes) {
    OrvoTreeNode root;
    addAll(root, {"b", "\xC4", "", "B", "a", "ab", string("a\0", 2)});
    EXPECT_THAT(keysOf(root), ElementsAre("", "B", "a", string("a\0", 2), "ab", "b", "\xC4"));
}

TEST(OrvoTreeNodeTest, addsNoNullPointer) {
    OrvoTreeNode root;
    std::vector<string> path{"a", "b"};
    EXPECT_EQ(nullptr, root.add(Node()));
    EXPECT_EQ(nullptr, root.add(Node(), path));
    EXPECT_EQ(nullptr, root.add(Node(), "/"));
    root.insert(0, Node());
    EXPECT_THAT(keysOf(root), IsEmpty());
    EXPECT_THAT(path, ElementsAre("a", "b"));
}

TEST(OrvoTreeNodeTest, givesNullWhereThereIsNoChild) {
    OrvoTreeNode root;
    EXPECT_EQ(nullptr, root[0]);
    EXPECT_EQ(nullptr, root.getNode("a"));
    addAll(root, {"a"});
    EXPECT_EQ("a", root[0]->getKey());
    EXPECT_EQ(nullptr, root[1]);
    EXPECT_EQ(nullptr, root[-1]);
}

TEST(OrvoTreeNodeTest, insertsAtAPositionWhateverTheKey) {
    OrvoTreeNode root;
    root.insert(0, make("m"));
    root.insert(0, make("z"));
    root.insert(2, make("a"));
    root.insert(1, make("k"));
    EXPECT_THAT(keysOf(root), ElementsAre("z", "k", "m", "a"));
    root.insert(9, make("e"));
    root.insert(-1, make("f"));
    EXPECT_THAT(keysOf(root), ElementsAre("z", "k", "m", "a", "e", "f"));
}

TEST(OrvoTreeNodeTest, addsInFrontOfTheFirstGreaterKeyAlsoWithoutOrder) {
    OrvoTreeNode root;
    for (const char* key : {"c", "x", "a", "x"}) root.insert(99, make(key));
    root.add(make("m"));
    EXPECT_THAT(keysOf(root), ElementsAre("c", "m", "x", "a", "x"));
    root.add(make("x"));
    EXPECT_THAT(keysOf(root), ElementsAre("c", "m", "x", "a", "x", "x"));
    root.add(make("a"));
    EXPECT_THAT(keysOf(root), ElementsAre("a", "c", "m", "x", "a", "x", "x"));
}

TEST(OrvoTreeNodeTest, findsTheFirstChildWithAKey) {
    OrvoTreeNode root;
    addAll(root, {"k", "K", "j", "k", "l"});
    EXPECT_EQ(root[2], root.getNode("k"));
    EXPECT_EQ(root[0], root.getNode("K"));
    EXPECT_EQ(nullptr, root.getNode("J"));
    EXPECT_EQ(nullptr, root.getNode("k "));
    EXPECT_EQ(nullptr, root.getNode(""));
}

TEST(OrvoTreeNodeTest, erasesByPosition) {
    OrvoTreeNode root;
    addAll(root, {"a", "b", "c"});
    root.erase(1);
    EXPECT_THAT(keysOf(root), ElementsAre("a", "c"));
    root.erase(2);
    root.erase(-1);
    EXPECT_THAT(keysOf(root), ElementsAre("a", "c"));
    root.erase(0);
    root.erase(0);
    root.erase(0);
    EXPECT_THAT(keysOf(root), IsEmpty());
}

TEST(OrvoTreeNodeTest, erasesTheFirstChildWithAKey) {
    OrvoTreeNode root;
    addAll(root, {"a", "k", "k", "z"});
    const Node second = root[2];
    root.erase("k");
    EXPECT_THAT(keysOf(root), ElementsAre("a", "k", "z"));
    EXPECT_EQ(second, root[1]);
    root.erase("K");
    root.erase("");
    EXPECT_THAT(keysOf(root), ElementsAre("a", "k", "z"));
}

TEST(OrvoTreeNodeTest, goesByTheKeysThatChildrenHaveNow) {
    OrvoTreeNode root;
    addAll(root, {"a", "b", "c"});
    EXPECT_NE(nullptr, root.getNode("b"));
    root[0]->setKey("x");
    EXPECT_THAT(keysOf(root), ElementsAre("x", "b", "c"));
    EXPECT_EQ(root[0], root.getNode("x"));
    EXPECT_EQ(root[1], root.getNode("b"));
    EXPECT_EQ(nullptr, root.getNode("a"));
    root.add(make("m"));
    EXPECT_THAT(keysOf(root), ElementsAre("m", "x", "b", "c"));

    *root[1] = string("n");
    root[2]->setKey("o");
    *root[3] = OrvoTreeNode("p");
    root.add(make("nn"));
    EXPECT_THAT(keysOf(root), ElementsAre("m", "n", "nn", "o", "p"));
    EXPECT_EQ(root[3], root.getNode("o"));
}

TEST(OrvoTreeNodeTest, seesThatASharedChildGotAnotherKey) {
    OrvoTreeNode first, second;
    addAll(first, {"a", "b", "c"});
    second = first;
    EXPECT_NE(nullptr, second.getNode("c"));
    first.getNode("b")->setKey("z");
    EXPECT_EQ(nullptr, second.getNode("b"));
    EXPECT_NE(nullptr, second.getNode("c"));
    EXPECT_NE(nullptr, second.getNode("z"));
    second.erase("z");
    EXPECT_THAT(keysOf(first), ElementsAre("a", "z", "c"));
    EXPECT_THAT(keysOf(second), ElementsAre("a", "c"));
}

TEST(OrvoTreeNodeTest, copiesShareTheChildren) {
    const Node node = make("k");
    addAll(*node, {"a", "b"});
    OrvoTreeNode copy(*node);
    EXPECT_EQ("k", copy.getKey());
    EXPECT_EQ(0u, copy.refCount());
    EXPECT_EQ((*node)[0], copy[0]);
    EXPECT_EQ(2u, copy[1]->refCount() - 1);

    copy.erase("a");
    copy.setKey("l");
    EXPECT_THAT(keysOf(*node), ElementsAre("a", "b"));
    EXPECT_EQ("k", node->getKey());
}

TEST(OrvoTreeNodeTest, assignmentReplacesKeyAndChildrenButNotTheCount) {
    const Node node = make("k");
    addAll(*node, {"a"});
    OrvoTreeNode other("o");
    addAll(other, {"x", "y"});
    *node = other;
    EXPECT_EQ("o", node->getKey());
    EXPECT_THAT(keysOf(*node), ElementsAre("x", "y"));
    EXPECT_EQ(1u, node->refCount());

    OrvoTreeNode& self = *node;
    *node = self;
    EXPECT_THAT(keysOf(*node), ElementsAre("x", "y"));
    *node = OrvoTreeNode();
    EXPECT_THAT(keysOf(*node), IsEmpty());
}

TEST(OrvoTreeNodeTest, takesOverTheValueOfItsOwnDescendant) {
    OrvoTreeNode root("root");
    std::vector<string> path{"a", "b", "c"};
    root.add(make(""), path);
    root = *root.getNode("a/b", "/");
    EXPECT_EQ("b", root.getKey());
    EXPECT_THAT(keysOf(root), ElementsAre("c"));
}

TEST(OrvoTreeNodeTest, tellsItsDependents) {
    struct Listener : OrvoDependent {
        void handleNotification(OrvoCollaborator& from, const OrvoNotification& note) override {
            source = &from;
            id = note.getId();
        }
        OrvoCollaborator* source = nullptr;
        int id = 0;
    } listener;
    OrvoTreeNode node("k");
    node.addDependent(listener);
    OrvoTreeNode copy(node);
    copy.notify(OrvoNotification(5));
    EXPECT_EQ(0, listener.id);
    node.notify(OrvoNotification(7));
    EXPECT_EQ(7, listener.id);
    EXPECT_EQ(&node, listener.source);
    node.removeDependent(listener);
}

/// The same by plain means.
class SimpleList {
public:
    void insert(std::size_t index, Node node) { m_nodes.insert(m_nodes.begin() + offset(index), node); }
    void add(Node node) {
        std::size_t i = 0;
        while (i < m_nodes.size() && m_nodes[i]->getKey() <= node->getKey()) ++i;
        insert(i, node);
    }
    std::size_t find(const string& key) const {
        std::size_t i = 0;
        while (i < m_nodes.size() && m_nodes[i]->getKey() != key) ++i;
        return i;
    }
    void erase(std::size_t index) {
        if (index < m_nodes.size()) m_nodes.erase(m_nodes.begin() + offset(index));
    }
    const std::vector<Node>& nodes() const { return m_nodes; }

private:
    std::ptrdiff_t offset(std::size_t index) const {
        return static_cast<std::ptrdiff_t>(std::min(index, m_nodes.size()));
    }
    std::vector<Node> m_nodes;
};

TEST(OrvoTreeNodeTest, doesWhatASimpleListWouldDo) {
    std::mt19937 random(20240101);
    const auto below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
    for (const unsigned length : {4u, 300u, 1500u}) {
        for (const bool ordered : {true, false}) {
            OrvoTreeNode root;
            SimpleList model;
            for (unsigned step = 0; step < 4 * length; ++step) {
                const string key = std::to_string(below(length));
                const unsigned index = below(length);
                switch (below(ordered ? 5 : 7)) {
                    case 0: {
                        root.erase(key);
                        model.erase(model.find(key));
                        break;
                    }
                    case 1: {
                        const std::size_t place = model.find(key);
                        ASSERT_EQ(place < model.nodes().size() ? model.nodes()[place] : Node(),
                                  root.getNode(key));
                        break;
                    }
                    case 5: {
                        const Node node = make(key);
                        root.insert(static_cast<int>(index), node);
                        model.insert(index, node);
                        break;
                    }
                    case 6: {
                        if (index < model.nodes().size()) model.nodes()[index]->setKey(key);
                        if (below(2) == 0) {
                            root.erase(static_cast<int>(index));
                            model.erase(index);
                        }
                        break;
                    }
                    default: {
                        const Node node = make(key);
                        root.add(node);
                        model.add(node);
                    }
                }
            }
            for (std::size_t i = 0; i <= model.nodes().size(); ++i)
                ASSERT_EQ(i < model.nodes().size() ? model.nodes()[i] : Node(), root[static_cast<int>(i)]);
        }
    }
}

TEST(OrvoTreeNodeTest, holdsAHundredThousandChildrenAddedInAnyOrder) {
    constexpr int count = 100000;
    const auto key = [](int number) { return std::to_string(count + number); };
    std::mt19937 random(7);
    std::vector<int> numbers(count);
    for (int i = 0; i < count; ++i) numbers[static_cast<std::size_t>(i)] = i;
    for (int order = 0; order < 3; ++order) {
        if (order == 1) std::reverse(numbers.begin(), numbers.end());
        if (order == 2) std::shuffle(numbers.begin(), numbers.end(), random);
        OrvoTreeNode root;
        for (const int number : numbers) root.add(make(key(number)));
        for (const int number : numbers) ASSERT_EQ(key(number), root.getNode(key(number))->getKey());
        for (int i = 0; i < count; i += 1000) ASSERT_EQ(key(i), root[i]->getKey());
        for (const int number : numbers) root.erase(key(number));
        ASSERT_EQ(nullptr, root[0]);
    }
}

TEST(OrvoTreeNodeTest, findsAHundredThousandChildrenWhileTheirKeysChange) {
    constexpr int count = 100000;
    OrvoTreeNode root;
    std::vector<Node> nodes;
    for (int i = 0; i < count; ++i) nodes.push_back(root.add(make(std::to_string(count + i))));
    for (int i = 0; i < count; ++i) {
        Node& node = nodes[static_cast<std::size_t>(i)];
        const string key = node->getKey() + "x";
        node->setKey(key);
        ASSERT_EQ(node, root.getNode(key));
    }
    EXPECT_EQ(nullptr, root.getNode(std::to_string(count)));
}

// Looking for each among those with the same key would pass eighty thousand million others.
TEST(OrvoTreeNodeTest, tellsManyChildrenOfOneKeyApart) {
    constexpr int count = 400000;
    OrvoTreeNode root;
    std::vector<Node> nodes;
    for (int i = 0; i < count; ++i) nodes.push_back(root.add(make("k")));
    for (int i = count - 1; i >= 0; --i)
        nodes[static_cast<std::size_t>(i)]->setKey("k" + std::to_string(count + i));
    for (int i = 0; i < count; i += 1000)
        ASSERT_EQ(nodes[static_cast<std::size_t>(i)], root.getNode("k" + std::to_string(count + i)));
    EXPECT_EQ(nullptr, root.getNode("k"));
}

TEST(OrvoTreeNodeTest, forgetsTheParentsThatANodeHasLeft) {
    const Node node = make("b");
    {
        OrvoTreeNode first;
        addAll(first, {"a", "c"});
        first.add(node);
        node->setKey("bb");
        EXPECT_EQ(node, first.getNode("bb"));
        first.erase("bb");
        node->setKey("x");
        EXPECT_THAT(keysOf(first), ElementsAre("a", "c"));
        first.add(node);
    }
    node->setKey("y");
    OrvoTreeNode second;
    second.add(node);
    second.add(node);
    node->setKey("z");
    second.erase(0);
    EXPECT_EQ(node, second.getNode("z"));
}

TEST(OrvoTreeNodeTest, isReadByThreadsAtTheSameTime) {
    OrvoTreeNode root;
    for (int i = 0; i < 2000; ++i) root.add(make(std::to_string(i)));
    root[0]->setKey("changed");  // so that the first look-ups find the order out
    std::atomic<int> found{0};
    const auto read = [&] {
        OrvoTreeNode copy(root);
        for (int i = 1; i < 2000; ++i)
            if (root.getNode(std::to_string(i)) == copy.getNode(std::to_string(i))) ++found;
    };
    std::thread other(read);
    read();
    other.join();
    EXPECT_EQ(2 * 1999, found);
}

TEST(OrvoTreeNodeTest, growsInSeveralThreadsThatShareNodes) {
    const Node shared = make("k");
    const auto grow = [&] {
        OrvoTreeNode root;
        for (int i = 0; i < 1000; ++i) root.add(shared);
        for (int i = 0; i < 1000; ++i) root.add(make(std::to_string(i)))->setKey("z");
    };
    std::thread other(grow);
    grow();
    other.join();
    EXPECT_EQ(1u, shared->refCount());
}

}  // namespace
