// Giving up the children of a tree node that goes, however deep the tree.
#ifndef OSUPT_TYPES_TREE_RELEASE_H
#define OSUPT_TYPES_TREE_RELEASE_H

#include <memory>

#include "OrvoTreeNode.h"

namespace OrvoSupport {

/// Gives up the holds of a node on its children; the node is in its destructor. Children that nobody else
/// holds are destroyed before the outermost call returns, in the order in which calls of calls would do that,
/// but without a call in a call: a node that is destroyed by such a call leaves its children to it.
///
/// Thread safety: any thread.
void releaseChildren(const OrvoTreeNode& node, std::unique_ptr<ChildList> children) noexcept;

}  // namespace OrvoSupport

#endif
