#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "base/parameters/KeyIndex.h"

namespace CoreServices::Tree {

/// An immutable text in 24 bytes: up to 23 bytes lie inside, a longer one in a block that its copies share.
/// So most keys, numbers and words need no memory of their own, and copying any text never copies a block.
/// Copies may live on different threads.
class Text {
public:
    Text() noexcept = default;
    explicit Text(std::string_view text);
    Text(const Text& other) noexcept : m_inlineSize(other.m_inlineSize) {
        std::memcpy(m_bytes, other.m_bytes, sizeof m_bytes);
        if (IsShared())
            Retain();
    }
    Text(Text&& other) noexcept : m_inlineSize(other.m_inlineSize) {
        std::memcpy(m_bytes, other.m_bytes, sizeof m_bytes);
        other.m_inlineSize = 0;
    }
    Text& operator=(const Text& other) noexcept {
        Text copy(other);
        Swap(copy);
        return *this;
    }
    Text& operator=(Text&& other) noexcept {
        Text moved(std::move(other));
        Swap(moved);
        return *this;
    }
    ~Text() {
        if (IsShared())
            Release();
    }

    /// Valid as long as this object, or any copy of a long one, is neither destroyed nor assigned to.
    std::string_view View() const noexcept {
        if (!IsShared())
            return {m_bytes, m_inlineSize};
        const Shared shared = LoadShared();
        return {shared.pChars, shared.size};
    }

    friend bool operator==(const Text& left, const Text& right) noexcept {
        return left.View() == right.View();
    }

private:
    struct Shared {
        const char* pChars;  // follow the block's count
        std::size_t size;
    };
    static constexpr std::size_t kInlineCapacity = 23;
    static constexpr std::uint8_t kSharedMark = 0xFF;

    bool IsShared() const noexcept { return m_inlineSize == kSharedMark; }
    Shared LoadShared() const noexcept {
        Shared shared;
        std::memcpy(&shared, m_bytes, sizeof shared);
        return shared;
    }
    void Retain() const noexcept;
    void Release() noexcept;
    void Swap(Text& other) noexcept {
        char bytes[kInlineCapacity];
        std::memcpy(bytes, m_bytes, sizeof bytes);
        std::memcpy(m_bytes, other.m_bytes, sizeof bytes);
        std::memcpy(other.m_bytes, bytes, sizeof bytes);
        std::swap(m_inlineSize, other.m_inlineSize);
    }

    alignas(Shared) char m_bytes[kInlineCapacity] = {};  // the text itself, or a Shared
    std::uint8_t m_inlineSize = 0;                       // or kSharedMark
};

static_assert(sizeof(Text) == 24);

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

struct Null {};

/// Numbers are kept as the text of their JSON token, so that none changes on its way through.
struct Integer {
    explicit Integer(std::string_view jsonToken) : token(jsonToken) {}
    std::int32_t Read() const noexcept;

    Text token;  // no fraction, no exponent, fits 32 bits
};
struct Double {
    explicit Double(std::string_view jsonToken) : token(jsonToken) {}
    /// Infinite where the token is too large for a double.
    double Read() const noexcept;

    Text token;  // any other number
};

using Value = std::variant<Null, bool, Integer, Double, Text, NodeRef>;

struct Member {
    explicit Member(std::string_view ofKey) : key(ofKey) {}

    Text key;
    Value value;
};

/// `token` is a JSON number.
void SetNumber(Value& value, std::string_view token);

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
