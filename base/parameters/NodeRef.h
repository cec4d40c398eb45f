#pragma once

#include <memory>
#include <utility>

namespace CoreServices::Tree {

class Node;

/// A counted reference to one node of a tree; an empty reference stands for the empty object. What is shared
/// is never written: `Write` clones the node first, so every reference behaves as a value of its own.
/// A reference belongs to one thread at a time, references to one node may live on different threads.
class NodeRef {
public:
    NodeRef() noexcept = default;
    /// Takes over a fresh node, which begins with a count of one.
    explicit NodeRef(std::unique_ptr<Node> pFresh) noexcept;
    NodeRef(const NodeRef& other) noexcept;
    NodeRef(NodeRef&& other) noexcept : m_pNode(std::exchange(other.m_pNode, nullptr)) {}
    NodeRef& operator=(const NodeRef& other) noexcept {
        NodeRef copy(other);
        std::swap(m_pNode, copy.m_pNode);
        return *this;
    }
    NodeRef& operator=(NodeRef&& other) noexcept {
        NodeRef moved(std::move(other));
        std::swap(m_pNode, moved.m_pNode);
        return *this;
    }
    ~NodeRef() {
        if (m_pNode != nullptr)
            Release(m_pNode);
    }

    const Node& operator*() const noexcept;
    const Node* operator->() const noexcept { return &**this; }
    /// The node as this reference's own: made where there is none, cloned where others hold it too.
    Node& Write();

private:
    static void Release(Node* pNode) noexcept;

    Node* m_pNode = nullptr;
};

}  // namespace CoreServices::Tree
