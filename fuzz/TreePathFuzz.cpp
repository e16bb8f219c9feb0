// Keyed trees: the input is a list of steps, done to a tree and to a simple model of it.
#include <OrvoTreeNode.h>

#include <memory>
#include <vector>

#include "Fuzz.h"

using namespace OrvoSupport;

namespace {

using Node = OrvoSmartPointer<OrvoTreeNode>;
using Path = std::vector<std::string>;

class Data : public OrvoTreeNode {
public:
    using OrvoTreeNode::OrvoTreeNode;
};

struct Model;
using ModelPointer = std::shared_ptr<Model>;

/// A node of the model, and the one it stands for; null for nodes that the tree made itself.
struct Model {
    std::string key;
    bool isData = false;
    Node node;
    std::vector<ModelPointer> children;

    std::size_t find(const std::string& wanted) const {
        std::size_t i = 0;
        while (i < children.size() && children[i]->key != wanted) ++i;
        return i;
    }
    void insert(std::size_t index, const ModelPointer& child) {
        index = std::min(index, children.size());
        children.insert(children.begin() + static_cast<std::ptrdiff_t>(index), child);
    }
    void erase(std::size_t index) {
        if (index < children.size()) children.erase(children.begin() + static_cast<std::ptrdiff_t>(index));
    }
    void add(const ModelPointer& child) {
        std::size_t i = 0;
        while (i < children.size() && children[i]->key <= child->key) ++i;
        insert(i, child);
    }
    const Model* walk(const Path& path) const {
        const Model* at = path.empty() ? nullptr : this;
        for (std::size_t i = 0; at && i < path.size(); ++i) {
            const std::size_t child = at->find(path[i]);
            at = child < at->children.size() ? at->children[child].get() : nullptr;
        }
        return at;
    }
    /// Returns the node that stands at the path then.
    ModelPointer addAt(const Path& path, const ModelPointer& child) {
        Model* at = this;
        for (std::size_t i = 0; i + 1 < path.size(); ++i) {
            std::size_t next = at->find(path[i]);
            if (next == at->children.size()) {
                at->add(std::make_shared<Model>(Model{path[i], false, nullptr, {}}));
                next = at->find(path[i]);
            }
            at = at->children[next].get();
        }
        const std::size_t place = at->find(path.back());
        if (place < at->children.size()) {
            const ModelPointer existing = at->children[place];
            if (existing->isData) return existing;
            child->children = std::move(existing->children);
            at->erase(place);
        }
        child->key = path.back();
        at->add(child);
        return child;
    }
};

void requireSame(const OrvoTreeNode& node, const Model& model) {
    REQUIRE(node.getKey() == model.key);
    REQUIRE(!model.node || model.node == &node);
    REQUIRE((dynamic_cast<const Data*>(&node) != nullptr) == model.isData);
    for (std::size_t i = 0; i < model.children.size(); ++i) {
        const Node child = node[static_cast<int>(i)];
        REQUIRE(child);
        requireSame(*child, *model.children[i]);
    }
    REQUIRE(!node[static_cast<int>(model.children.size())]);
}

std::string trimmed(std::string key) {
    while (!key.empty() && key.back() == ' ') key.pop_back();
    while (!key.empty() && key.front() == ' ') key.erase(0, 1);
    return key;
}

/// As the tree splits a text: at slashes, up to the first NUL, without empty pieces.
Path split(const std::string& text, bool trim) {
    Path path(1);
    for (const char* c = text.c_str(); *c; ++c)
        if (*c == '/') {
            path.emplace_back();
        } else {
            path.back() += *c;
        }
    path.erase(std::remove(path.begin(), path.end(), ""), path.end());
    if (trim) std::transform(path.begin(), path.end(), path.begin(), trimmed);
    return path;
}

class Run {
public:
    /// One step: a byte that says what to do, a byte that is a position, and a line that is a key or a path.
    void step(fuzz::Input& input) {
        const unsigned action = input.byte() % 8;
        const std::size_t index = input.byte() % 16;
        const std::string text = input.line();
        switch (action) {
            case 0: addAtPath(text, make(text, false)); break;
            case 1: addAtPath(text, make(text, true)); break;
            case 2: lookUp(text); break;
            case 3:
                m_root.erase(text);
                m_model.erase(m_model.find(text));
                break;
            case 4:
                m_root.erase(static_cast<int>(index));
                m_model.erase(index);
                break;
            case 5: {
                const ModelPointer child = make(text, index % 2 == 0);
                REQUIRE(m_root.add(child->node) == child->node);
                m_model.add(child);
                break;
            }
            case 6: {
                const ModelPointer child = make(text, index % 2 == 0);
                m_root.insert(static_cast<int>(index), child->node);
                m_model.insert(index, child);
                break;
            }
            default:
                if (index >= m_model.children.size()) break;
                m_root[static_cast<int>(index)]->setKey(text);
                m_model.children[index]->key = text;
        }
        const Node found = m_root.getNode(text);
        const std::size_t place = m_model.find(text);
        REQUIRE(found == (place < m_model.children.size() ? m_root[static_cast<int>(place)] : Node()));
    }

    void requireSameTrees() {
        requireSame(m_root, m_model);
        requireSame(OrvoTreeNode(m_root), m_model);
    }

private:
    static ModelPointer make(const std::string& key, bool isData) {
        return std::make_shared<Model>(
            Model{key, isData, isData ? new Data(key) : new OrvoTreeNode(key), {}});
    }

    void addAtPath(const std::string& text, const ModelPointer& child) {
        const Path path = split(text, true);
        const Node result = m_root.add(child->node, "/");
        if (path.empty()) {
            REQUIRE(!result && child->node->getKey() == text);
            return;
        }
        REQUIRE(result == m_model.addAt(path, child)->node);
    }

    void lookUp(const std::string& text) {
        const Model* const expected = m_model.walk(split(text, true));
        Path path = split(text, false);
        const Node found = m_root.getNode(path);
        REQUIRE((found != nullptr) == (expected != nullptr));
        REQUIRE(found == m_root.getNode(text, "/"));
        if (found) {
            REQUIRE(path.empty());
            requireSame(*found, *expected);
        }
    }

    OrvoTreeNode m_root;
    Model m_model;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    Run run;
    while (!input.atEnd()) run.step(input);
    run.requireSameTrees();
    return 0;
}
