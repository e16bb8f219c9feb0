// Nodes for tests of trees.
#ifndef TESTS_TYPES_TREE_NODES_H
#define TESTS_TYPES_TREE_NODES_H

#include <OrvoTreeNode.h>

#include <string>
#include <vector>

namespace testing_support {

using Node = OrvoSupport::OrvoSmartPointer<OrvoSupport::OrvoTreeNode>;

inline Node make(const std::string& key) { return new OrvoSupport::OrvoTreeNode(key); }

/// A node as applications derive it.
class DataNode : public OrvoSupport::OrvoTreeNode {
public:
    explicit DataNode(const std::string& key, int number = 0) : OrvoTreeNode(key), data(number) {}
    const int data;
};

inline std::vector<std::string> keysOf(const OrvoSupport::OrvoTreeNode& node) {
    std::vector<std::string> keys;
    for (int i = 0; const Node child = node[i]; ++i) keys.push_back(child->getKey());
    return keys;
}

}  // namespace testing_support

#endif
