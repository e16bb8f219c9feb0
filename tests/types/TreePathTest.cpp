// Paths through a tree: looking up, adding, and what becomes of nodes that only held a place.
#include <gmock/gmock.h>

#include "types/TreeNodes.h"

using namespace OrvoSupport;
using testing::ElementsAre;
using testing::IsEmpty;
using testing_support::DataNode;
using testing_support::keysOf;
using testing_support::make;
using testing_support::Node;

namespace {

using Path = std::vector<string>;

/// An application's class that has the name of the plain one in its own.
class MyOrvoTreeNodeKind : public OrvoTreeNode {};

Node addAt(OrvoTreeNode& root, Path path, Node node) { return root.add(node, path); }
Node nodeAt(const OrvoTreeNode& root, Path path) { return root.getNode(path); }

TEST(TreePathTest, walksDownAPath) {
    OrvoTreeNode root;
    const Node x = root.add(make("x"));
    const Node y = x->add(make("y"));
    EXPECT_EQ(x, nodeAt(root, {"x"}));
    EXPECT_EQ(y, nodeAt(root, {"x", "y"}));
    EXPECT_EQ(nullptr, nodeAt(root, {"y"}));
    EXPECT_EQ(nullptr, nodeAt(root, {"x", "x"}));
    EXPECT_EQ(nullptr, nodeAt(root, {"x", "y", "z"}));
    EXPECT_EQ(nullptr, nodeAt(root, {}));
}

TEST(TreePathTest, ignoresBlanksAroundAKeyButNothingElse) {
    OrvoTreeNode root;
    const Node x = root.add(make("x"));
    const Node y = x->add(make("y z"));
    root.add(make(""));
    EXPECT_EQ(y, nodeAt(root, {"  x   ", " y z"}));
    EXPECT_EQ(nullptr, nodeAt(root, {"x\t"}));
    EXPECT_EQ(nullptr, nodeAt(root, {"x", "yz"}));
    EXPECT_EQ(root[0], nodeAt(root, {"   "}));
    root.add(make(" k"));
    EXPECT_EQ(nullptr, nodeAt(root, {" k"}));
}

TEST(TreePathTest, removesWhatItReadFromThePath) {
    OrvoTreeNode root;
    addAt(root, {"a", "b", "c"}, make(""));
    Path found{"a", "b", "c"};
    EXPECT_NE(nullptr, root.getNode(found));
    EXPECT_THAT(found, IsEmpty());
    Path missing{"a", " x ", " c ", "d"};
    EXPECT_EQ(nullptr, root.getNode(missing));
    EXPECT_THAT(missing, ElementsAre(" c ", "d"));
    Path added{"a", "b", "d"};
    root.add(make(""), added);
    EXPECT_THAT(added, IsEmpty());
}

TEST(TreePathTest, splitsATextIntoAPath) {
    OrvoTreeNode root;
    const Node c = addAt(root, {"a", "b", "c"}, make(""));
    char separators[] = "/.";
    EXPECT_EQ(c, root.getNode("a/b/c", separators));
    EXPECT_EQ(c, root.getNode(".a//b . c/", separators));
    EXPECT_EQ(nullptr, root.getNode("a/b/c", "."));
    EXPECT_EQ(nullptr, root.getNode("", separators));
    EXPECT_EQ(nullptr, root.getNode("///", separators));
    EXPECT_EQ(root[0], root.getNode("a", nullptr));
    EXPECT_EQ(nullptr, root.getNode("a/b", nullptr));
}

TEST(TreePathTest, makesTheNodesInBetween) {
    OrvoTreeNode root;
    const Node leaf = make("other");
    EXPECT_EQ(leaf, addAt(root, {"p", " q ", " leaf"}, leaf));
    EXPECT_EQ("leaf", leaf->getKey());
    EXPECT_THAT(keysOf(root), ElementsAre("p"));
    EXPECT_THAT(keysOf(*root[0]), ElementsAre("q"));
    EXPECT_EQ(leaf, nodeAt(root, {"p", "q", "leaf"}));
    EXPECT_EQ("OrvoSupport::OrvoTreeNode", root[0]->getClassName());
    EXPECT_EQ(1u + 1u, root[0]->refCount());
}

TEST(TreePathTest, addsInTheOrderOfTheKeysOnEveryLevel) {
    OrvoTreeNode root;
    for (const char* path : {"m/2", "a/1", "z/0", "m/1", "m/3", "b/1"}) root.add(make(path), "/");
    EXPECT_THAT(keysOf(root), ElementsAre("a", "b", "m", "z"));
    EXPECT_THAT(keysOf(*root.getNode("m")), ElementsAre("1", "2", "3"));
}

TEST(TreePathTest, goesThroughNodesOfAnyClass) {
    OrvoTreeNode root;
    const Node data = addAt(root, {"p", "q"}, new DataNode(""));
    const Node leaf = addAt(root, {"p", "q", "leaf"}, make(""));
    EXPECT_EQ(leaf, data->getNode("leaf"));
}

TEST(TreePathTest, takesThePathFromTheKey) {
    OrvoTreeNode root;
    const Node node = make("a/b:c");
    char separators[] = "/:";
    EXPECT_EQ(node, root.add(node, separators));
    EXPECT_EQ("c", node->getKey());
    EXPECT_EQ(node, nodeAt(root, {"a", "b", "c"}));
    const Node whole = make("a/b");
    EXPECT_EQ(whole, root.add(whole, nullptr));
    EXPECT_EQ(whole, root.getNode("a/b"));
}

TEST(TreePathTest, addsNothingWithoutAPath) {
    OrvoTreeNode root;
    const Node separatorsOnly = make("//");
    EXPECT_EQ(nullptr, addAt(root, {}, make("k")));
    EXPECT_EQ(nullptr, root.add(separatorsOnly, "/"));
    EXPECT_EQ(nullptr, root.add(make(""), "/"));
    EXPECT_THAT(keysOf(root), IsEmpty());
    EXPECT_EQ("//", separatorsOnly->getKey());
}

TEST(TreePathTest, replacesANodeThatOnlyHeldThePlace) {
    OrvoTreeNode root;
    const Node leaf = addAt(root, {"p", "q", "leaf"}, make(""));
    const Node place = nodeAt(root, {"p", "q"});
    const Node data = new DataNode("any", 5);
    data->add(make("own child"));
    EXPECT_EQ(data, addAt(root, {"p", "q"}, data));

    EXPECT_EQ(data, nodeAt(root, {"p", "q"}));
    EXPECT_EQ("q", data->getKey());
    EXPECT_THAT(keysOf(*data), ElementsAre("leaf"));
    EXPECT_EQ(leaf, (*data)[0]);
    EXPECT_THAT(keysOf(*root[0]), ElementsAre("q"));
    EXPECT_THAT(keysOf(*place), IsEmpty());
    EXPECT_EQ(1u, place->refCount());
}

TEST(TreePathTest, replacesAPlainNodeByAPlainNodeToo) {
    OrvoTreeNode root;
    addAt(root, {"a", "b"}, make(""));
    const Node node = make("");
    EXPECT_EQ(node, addAt(root, {"a"}, node));
    EXPECT_EQ(node, root[0]);
    EXPECT_EQ(nullptr, root[1]);
    EXPECT_THAT(keysOf(*node), ElementsAre("b"));
}

TEST(TreePathTest, keepsANodeOfAnApplicationsClass) {
    OrvoTreeNode root;
    const Node data = addAt(root, {"p", "q"}, new DataNode("", 1));
    const Node late = new DataNode("late", 2);
    late->add(make("child"));
    EXPECT_EQ(data, addAt(root, {"p", "q"}, late));
    EXPECT_EQ(data, nodeAt(root, {"p", "q"}));
    EXPECT_THAT(keysOf(*root[0]), ElementsAre("q"));
    EXPECT_EQ("late", late->getKey());
    EXPECT_THAT(keysOf(*late), ElementsAre("child"));
    EXPECT_EQ(1u, late->refCount());
    EXPECT_THAT(keysOf(*data), IsEmpty());
}

TEST(TreePathTest, takesAClassForPlainThatIsNamedSo) {
    OrvoTreeNode root;
    addAt(root, {"k"}, new MyOrvoTreeNodeKind);
    const Node data = new DataNode("");
    EXPECT_EQ(data, addAt(root, {"k"}, data));
    EXPECT_EQ(data, root[0]);
    EXPECT_EQ(nullptr, root[1]);
}

TEST(TreePathTest, leavesANodeThatStandsThereAlready) {
    OrvoTreeNode root;
    const Node node = addAt(root, {"a", "b"}, make(""));
    node->add(make("child"));
    EXPECT_EQ(node, addAt(root, {"a", "b"}, node));
    EXPECT_THAT(keysOf(*root[0]), ElementsAre("b"));
    EXPECT_THAT(keysOf(*node), ElementsAre("child"));
}

TEST(TreePathTest, replacesTheFirstOfSeveralAndAddsBehindThem) {
    OrvoTreeNode root;
    const Node first = root.add(make("k"));
    first->add(make("child"));
    const Node second = root.add(new DataNode("k"));
    const Node node = new DataNode("");
    addAt(root, {"k"}, node);
    EXPECT_EQ(second, root[0]);
    EXPECT_EQ(node, root[1]);
    EXPECT_EQ(nullptr, root[2]);
    EXPECT_THAT(keysOf(*node), ElementsAre("child"));
}

// It has the key already when the first child with that key is taken out, and that may be itself.
TEST(TreePathTest, movesASiblingBehindANodeThatHeldThePlace) {
    OrvoTreeNode root;
    const Node sibling = root.add(new DataNode("a"));
    const Node place = root.add(make("k"));
    const Node child = place->add(make("child"));
    EXPECT_EQ(sibling, addAt(root, {"k"}, sibling));
    EXPECT_EQ(place, root[0]);
    EXPECT_EQ(sibling, root[1]);
    EXPECT_EQ(nullptr, root[2]);
    EXPECT_EQ(child, (*sibling)[0]);
    EXPECT_THAT(keysOf(*place), IsEmpty());
}

TEST(TreePathTest, letsOneNodeStandInSeveralPlaces) {
    OrvoTreeNode root;
    const Node shared = new DataNode("");
    addAt(root, {"a", "k"}, shared);
    addAt(root, {"b", "k"}, shared);
    addAt(root, {"a", "k", "below"}, make(""));
    EXPECT_NE(nullptr, nodeAt(root, {"b", "k", "below"}));
    root.erase("a");
    EXPECT_EQ(shared, nodeAt(root, {"b", "k"}));
}

TEST(TreePathTest, goesAsDeepAsThePath) {
    const Path path(100000, "k");
    OrvoTreeNode root;
    const Node leaf = addAt(root, path, new DataNode("", 7));
    EXPECT_EQ(leaf, nodeAt(root, path));
    EXPECT_EQ(leaf, addAt(root, path, make("")));
    Path tooLong = path;
    tooLong.push_back("k");
    EXPECT_EQ(nullptr, root.getNode(tooLong));
    EXPECT_THAT(tooLong, IsEmpty());
    Path wrong = path;
    wrong[1] = "x";
    EXPECT_EQ(nullptr, root.getNode(wrong));
    EXPECT_EQ(path.size() - 2, wrong.size());

    string text;
    for (int i = 0; i < 100000; ++i) text += "/k";
    EXPECT_EQ(leaf, root.getNode(text, "/"));
}

TEST(TreePathTest, holdsAHundredThousandPaths) {
    OrvoTreeNode root;
    const auto path = [](int i) {
        return "group" + std::to_string(i % 40) + "/set" + std::to_string(i / 40 % 50) + "/item" +
               std::to_string(i);
    };
    for (int i = 0; i < 100000; ++i) root.add(new DataNode(path(i), i), "/");
    for (int i = 0; i < 100000; ++i) ASSERT_EQ(i, static_cast<DataNode&>(*root.getNode(path(i), "/")).data);
    EXPECT_EQ(nullptr, root[40]);
}

}  // namespace
