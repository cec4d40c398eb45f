#include "base/parameters/NodeRef.h"

#include <array>
#include <cstddef>
#include <new>

#include "base/parameters/TreeNode.h"

namespace CoreServices::Tree {

namespace {

const Node& EmptyObject() noexcept {
    // Never destroyed: threads that outlive main may still read it.
    alignas(Node) static std::array<std::byte, sizeof(Node)> memory;
    static const Node& empty = *new (memory.data()) Node;
    return empty;
}

}  // namespace

NodeRef::NodeRef(std::unique_ptr<Node> pFresh) noexcept : m_pNode(pFresh.release()) {}

NodeRef::NodeRef(const NodeRef& other) noexcept : m_pNode(other.m_pNode) {
    if (m_pNode != nullptr)
        m_pNode->m_references.fetch_add(1, std::memory_order_relaxed);
}

const Node& NodeRef::operator*() const noexcept {
    return m_pNode != nullptr ? *m_pNode : EmptyObject();
}

Node& NodeRef::Write() {
    // Who sees a count of one is the only holder; acquire orders the reads of former holders before the
    // write.
    if (m_pNode == nullptr)
        m_pNode = new Node;
    else if (m_pNode->m_references.load(std::memory_order_acquire) != 1)
        *this = NodeRef(std::make_unique<Node>(*m_pNode));
    return *m_pNode;
}

void NodeRef::Release(Node* pNode) noexcept {
    if (pNode->m_references.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    // A list of dead nodes instead of recursion: a tree may be nested deeper than the machine stack is.
    Node* pDead = pNode;
    const auto dropChild = [&pDead](Value& value) {
        auto* pChild = std::get_if<NodeRef>(&value);
        if (pChild == nullptr || pChild->m_pNode == nullptr)
            return;
        Node* pDropped = std::exchange(pChild->m_pNode, nullptr);
        if (pDropped->m_references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            pDropped->m_pNextDead = pDead;
            pDead = pDropped;
        }
    };
    while (pDead != nullptr) {
        Node* pCurrent = std::exchange(pDead, pDead->m_pNextDead);
        for (Member& member : pCurrent->m_members)
            dropChild(member.value);
        for (Value& element : pCurrent->m_elements)
            dropChild(element);
        delete pCurrent;
    }
}

}  // namespace CoreServices::Tree
