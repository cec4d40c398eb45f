#pragma once

#include <atomic>
#include <cstddef>
#include <string_view>
#include <vector>

#include "base/parameters/KeyIndex.h"
#include "base/parameters/TreeValue.h"

namespace CoreServices::Tree {

/// One level of a tree: an object with its members in order, or an array with its elements. Held by
/// `NodeRef` alone, which counts the references and keeps a shared node from being written.
class Node {
public:
    /// An empty object.
    Node() = default;
    Node(std::vector<Member>&& members, KeyIndex&& index) noexcept;
    explicit Node(std::vector<Value>&& elements) noexcept;
    Node(const Node& other);
    Node& operator=(const Node&) = delete;
    ~Node() = default;

    bool IsArray() const noexcept { return m_isArray; }
    /// None in an array.
    const std::vector<Member>& Members() const noexcept { return m_members; }
    /// None in an object.
    const std::vector<Value>& Elements() const noexcept { return m_elements; }
    /// Of members or elements.
    std::size_t Size() const noexcept { return m_isArray ? m_elements.size() : m_members.size(); }

    /// Null where there is no such key. Valid until the node is written.
    const Value* Find(std::string_view key) const noexcept;
    /// The value under the key, which is appended where it is new. The node must be an object.
    Value& At(std::string_view key);
    void Remove(std::string_view key);
    /// The node must be an array.
    void Append(Value&& element);

private:
    friend class NodeRef;

    std::atomic<std::size_t> m_references{1};
    Node* m_pNextDead = nullptr;  // links nodes that are being destroyed
    std::vector<Member> m_members;
    std::vector<Value> m_elements;
    KeyIndex m_index;
    bool m_isArray = false;
};

/// Equal keys in equal order with equal values.
bool AreEqual(const Node& left, const Node& right);

}  // namespace CoreServices::Tree
