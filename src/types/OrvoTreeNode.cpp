#include "OrvoTreeNode.h"

#include <utility>

#include "OrvoTokenizer.h"
#include "logging/Trace.h"
#include "platform/TypeName.h"
#include "types/ChildList.h"
#include "types/TreeRelease.h"

namespace OrvoSupport {
namespace {

using Node = OrvoSmartPointer<OrvoTreeNode>;

/// Reads a path from its front. What was read is removed in one go at the end, since removing the first
/// element of a vector moves all others.
class PathReader {
public:
    explicit PathReader(std::vector<string>& path) : m_path(path) {}
    PathReader(const PathReader&) = delete;
    PathReader& operator=(const PathReader&) = delete;
    ~PathReader() { m_path.erase(m_path.begin(), m_path.begin() + static_cast<std::ptrdiff_t>(m_read)); }

    bool atEnd() const { return m_read == m_path.size(); }

    /// The next key without the blanks around it; valid as long as the reader.
    const string& next() {
        string& key = m_path[m_read++];
        key.erase(key.find_last_not_of(' ') + 1);
        key.erase(0, key.find_first_not_of(' '));
        return key;
    }

private:
    std::vector<string>& m_path;
    std::size_t m_read = 0;
};

std::vector<string> splitPath(const string& path, const char* separators) {
    std::vector<string> keys;
    OrvoTokenizer(path, separators ? separators : "", keys);
    return keys;
}

bool holdsAPlaceOnly(const OrvoTreeNode& node) {
    const std::type_info& type = typeid(node);
    return type == typeid(OrvoTreeNode) || platform::typeName(type).find("OrvoTreeNode") != string::npos;
}

bool dumpIsWanted() {
    const OrvoLogging* logger = TraceGate::open(9);
    return logger && logger->getLogLevel() == 9;
}

}  // namespace

OrvoTreeNode::OrvoTreeNode() = default;
OrvoTreeNode::OrvoTreeNode(const string& key) : m_key(key) {}

OrvoTreeNode::OrvoTreeNode(const OrvoTreeNode& other)
    : OrvoObjectBase(other),
      OrvoCollaborator(),
      m_children(other.m_children ? std::make_unique<ChildList>(*other.m_children) : nullptr),
      m_key(other.m_key) {}

OrvoTreeNode& OrvoTreeNode::operator=(const OrvoTreeNode& other) {
    if (this == &other) return *this;
    // The other node may be held by one of the children that go.
    OrvoTreeNode copy(other);
    setKey(copy.m_key);
    m_children.swap(copy.m_children);
    return *this;
}

OrvoTreeNode& OrvoTreeNode::operator=(const string& key) {
    setKey(key);
    return *this;
}

OrvoTreeNode::~OrvoTreeNode() {
    if (m_children) releaseChildren(*this, std::move(m_children));
}

void OrvoTreeNode::setKey(const string& key) { ChildList::changeKey(*this, key); }

Node OrvoTreeNode::operator[](int index) const {
    return m_children ? m_children->at(static_cast<std::size_t>(index)) : nullptr;
}

Node OrvoTreeNode::add(Node node) {
    if (node) list().insertByKey(node);
    return node;
}

Node OrvoTreeNode::add(Node node, std::vector<string>& path) {
    if (!node || path.empty()) return nullptr;
    PathReader keys(path);
    OrvoTreeNode* parent = this;
    const string* key = &keys.next();
    for (; !keys.atEnd(); key = &keys.next()) parent = &parent->provideChild(*key);
    return parent->addAs(*key, std::move(node));
}

Node OrvoTreeNode::add(Node node, const char* separators) {
    if (!node) return nullptr;
    std::vector<string> path = splitPath(node->m_key, separators);
    return add(std::move(node), path);
}

void OrvoTreeNode::insert(int index, Node node) {
    if (node) list().insert(static_cast<std::size_t>(index), node);
}

void OrvoTreeNode::erase(int index) {
    if (m_children) m_children->remove(static_cast<std::size_t>(index));
}

void OrvoTreeNode::erase(const string& key) {
    if (m_children) m_children->remove(key);
}

Node OrvoTreeNode::getNode(const string& key) const { return findChild(key); }

Node OrvoTreeNode::getNode(std::vector<string>& path) const {
    if (path.empty()) return nullptr;
    PathReader keys(path);
    OrvoTreeNode* node = findChild(keys.next());
    while (node && !keys.atEnd()) node = node->findChild(keys.next());
    return node;
}

Node OrvoTreeNode::getNode(const string& path, const char* separators) const {
    std::vector<string> keys = splitPath(path, separators);
    return getNode(keys);
}

void OrvoTreeNode::print(int indent) {
    if (!dumpIsWanted()) return;
    printGuts(indent);

    // The nodes from this one to the one printed last, with the number of children printed of each.
    struct Level {
        const OrvoTreeNode* node;
        Node hold;  // nobody else may hold it when its turn comes
        int printed = 0;
    };
    std::vector<Level> levels;
    levels.push_back({this, nullptr});
    while (!levels.empty()) {
        Level& level = levels.back();
        const Node child = (*level.node)[level.printed++];
        if (!child) {
            levels.pop_back();
        } else if (dumpIsWanted()) {
            child->printGuts(indent + static_cast<int>(levels.size()));
            levels.push_back({child.get(), child});
        }
    }
}

void OrvoTreeNode::printGuts(int indent) {
    if (TraceGate::open(9))
        trace(9, string(indent > 0 ? 4 * static_cast<std::size_t>(indent) : 0, ' '),
              "OrvoTreeNode::print: Key = ", m_key);
}

OrvoTreeNode* OrvoTreeNode::findChild(const string& key) const {
    return m_children ? m_children->find(key) : nullptr;
}

/// The first child with that key; made if there is none.
OrvoTreeNode& OrvoTreeNode::provideChild(const string& key) {
    OrvoTreeNode* const child = findChild(key);
    return child ? *child : *add(new OrvoTreeNode(key));
}

/// Adds a child under that key, unless another stands there that does more than hold the place.
Node OrvoTreeNode::addAs(const string& key, Node node) {
    const Node existing = findChild(key);
    if (existing == node) return node;
    if (existing && !holdsAPlaceOnly(*existing)) return existing;
    node->setKey(key);
    if (!existing) return add(std::move(node));
    const Node removed = m_children->replace(node);
    // What was below the node goes when all is done.
    const std::unique_ptr<ChildList> replaced =
        std::exchange(node->m_children, std::move(existing->m_children));
    return node;
}

ChildList& OrvoTreeNode::list() {
    if (!m_children) m_children = std::make_unique<ChildList>();
    return *m_children;
}

template class OrvoSmartPointer<OrvoTreeNode>;

}  // namespace OrvoSupport
