// A tree whose nodes have keys.
#ifndef ORVO_TREE_NODE_H
#define ORVO_TREE_NODE_H

#include <atomic>
#include <cstddef>
#include <memory>
#include <vector>

#include "OrvoEvent.h"
#include "OrvoExport.h"
#include "OrvoObjectBase.h"
#include "OrvoString.h"

namespace OrvoSupport {

class ChildList;  // inside the library

/// A node of a tree: a key and an ordered list of children. Derive from it to carry data; the class itself
/// serves as the inner nodes that paths need. Nodes are counted and live as long as somebody holds them, a
/// parent or a smart pointer; one node may have several parents. A node must not come to stand below itself.
///
/// add() keeps children in ascending order of their keys, byte by byte, equal ones in the order in which they
/// came. insert() and changes of a child's key do not care for that order. Keys compare exactly.
///
/// Paths are lists of keys, read without the blanks around each; what was read is removed from the list, also
/// when the walk fails. No call and no destruction needs more stack for a deeper tree. Where null pointers
/// are nodes to add, nothing happens and the answer is null.
///
/// Thread safety: a tree is used by one thread at a time, or read by several; the counts of its nodes may
/// change in any thread.
class OSUPT_API OrvoTreeNode : public OrvoObjectBase, public OrvoCollaborator {
public:
    /// An empty key and no children.
    OrvoTreeNode();
    OrvoTreeNode(const string& key);
    /// Copies the key and shares the children. The copy has a count of its own and no dependents.
    OrvoTreeNode(const OrvoTreeNode& other);
    /// Takes over key and children, which are shared. Count and dependents stay.
    OrvoTreeNode& operator=(const OrvoTreeNode& other);
    /// Sets the key.
    OrvoTreeNode& operator=(const string& key);
    /// Children that nobody else holds go too, each after its parent and in their order.
    ~OrvoTreeNode() override;

    const string& getKey() const { return m_key; }
    /// A node that has a parent stays where it is among the parent's children.
    void setKey(const string& key);

    /// The child at that position, from 0; null where there is none.
    OrvoSmartPointer<OrvoTreeNode> operator[](int index) const;

    /// Adds a child in front of the first one whose key is greater, and returns it.
    OrvoSmartPointer<OrvoTreeNode> add(OrvoSmartPointer<OrvoTreeNode> node);
    /// Adds a node at the end of a path below this one, makes the nodes in between that are missing, and sets
    /// the node's key to the last of the path. An empty path adds nothing and gives null.
    ///
    /// Where a node with that key stands already, its class decides. One whose class has "OrvoTreeNode" in
    /// its name only held the place: the new node replaces it and takes over its children in place of its
    /// own. Any other stays and is returned, and the new node is not added and keeps its key.
    OrvoSmartPointer<OrvoTreeNode> add(OrvoSmartPointer<OrvoTreeNode> node, std::vector<string>& path);
    /// The same, the path being the node's key, split at any of the separators as OrvoTokenizer() does. Null
    /// stands for no separators.
    OrvoSmartPointer<OrvoTreeNode> add(OrvoSmartPointer<OrvoTreeNode> node, const char* separators);
    /// Puts a child at a position, whatever its key; at the end if there is no such position.
    void insert(int index, OrvoSmartPointer<OrvoTreeNode> node);

    /// Removes the child at that position; nothing happens where there is none.
    void erase(int index);
    /// Removes the first child with that key, if there is one.
    void erase(const string& key);

    /// The first child with that key, or null.
    OrvoSmartPointer<OrvoTreeNode> getNode(const string& key) const;
    /// The node at the end of a path below this one, going by the first child with each key. Null when the
    /// path is empty or leads nowhere.
    OrvoSmartPointer<OrvoTreeNode> getNode(std::vector<string>& path) const;
    /// The same for a text, split at any of the separators; null stands for none.
    OrvoSmartPointer<OrvoTreeNode> getNode(const string& path, const char* separators) const;

    /// Logs the tree: calls printGuts() for this node with `indent`, and for each node below it with one more
    /// than for its parent, parents first. Only while the log level is exactly 9: at higher ones, which a
    /// logger can be constructed with, hosts log nodes themselves.
    void print(int indent);
    /// Logs this node, at level 9 and from log level 9 on: four blanks for each step of `indent`, then
    /// "OrvoTreeNode::print: Key = " and the key. Override it to log what a node carries.
    virtual void printGuts(int indent);

private:
    friend class ChildList;

    OrvoTreeNode* findChild(const string& key) const;
    OrvoTreeNode& provideChild(const string& key);
    OrvoSmartPointer<OrvoTreeNode> addAs(const string& key, OrvoSmartPointer<OrvoTreeNode> node);
    ChildList& list();

    std::unique_ptr<ChildList> m_children;  // none: no children
    string m_key;
    std::atomic<ChildList*> m_list{nullptr};  // the one it is in; kept up by the lists
    std::atomic<bool> m_isInSeveral{false};   // or was, or more than once
};

}  // namespace OrvoSupport

#endif
