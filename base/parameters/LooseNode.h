#pragma once

#include <atomic>
#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include "base/parameters/KeyIndex.h"
#include "base/parameters/Tree.h"

namespace CoreServices::Tree {

/// The head of a long text that is no document's, right before its characters.
struct LooseText {
    std::atomic<std::size_t> references{1};
};

/// A node that stands alone, counted for itself, and can be written while one owner alone holds it. It holds
/// what its keys and values point to.
class LooseNode final : public Node {
public:
    explicit LooseNode(bool isArray) noexcept : Node(isArray) {}
    /// Of the node's own kind, with its members or elements.
    explicit LooseNode(const Node& other);
    LooseNode(const LooseNode&) = delete;
    LooseNode& operator=(const LooseNode&) = delete;
    ~LooseNode() = default;

    std::span<const Slot> KeySlots() const noexcept { return m_index.Slots(); }

    void Retain() noexcept { m_references.fetch_add(1, std::memory_order_relaxed); }
    /// Who sees it unshared is the only holder; acquire orders the reads of former holders before its writes.
    bool IsShared() const noexcept { return m_references.load(std::memory_order_acquire) != 1; }
    /// Destroys the node, and all below it that nobody else holds, with the last reference.
    static void Release(LooseNode* pNode) noexcept;

    /// Sets the value under the key, which is appended where it is new. The node must be an object.
    void Set(std::string_view key, OwnedValue&& value);
    void Remove(std::string_view key);
    /// The array under the key, for writing. A value of another kind, or none, is replaced by an empty one.
    LooseNode& WriteArray(std::string_view key);
    /// The node must be an array.
    void Append(OwnedValue&& element);

    /// The node of an object or an array, as its holder's own.
    static LooseNode& Write(Value& container);

private:
    /// Appended where it is new, and null then.
    Value& At(std::string_view key);
    bool IsLastReference() noexcept { return m_references.fetch_sub(1, std::memory_order_acq_rel) == 1; }

    std::atomic<std::size_t> m_references{1};
    LooseNode* m_pNextDead = nullptr;  // links nodes that are being destroyed
    std::vector<Member> m_members;
    std::vector<Value> m_elements;
    KeyIndex m_index;
};

}  // namespace CoreServices::Tree
