#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>

#include "base/parameters/KeyIndex.h"
#include "base/parameters/Value.h"

namespace CoreServices::Tree {

class Document;
class LooseNode;

/// One level of a tree: an object with its members in order, or an array with its elements. Either a part of
/// a document, which nobody writes, or a `LooseNode`.
class Node {
public:
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    bool IsArray() const noexcept { return m_isArray != 0; }
    /// Of members or elements.
    std::size_t Size() const noexcept { return m_size; }
    /// None in an array.
    std::span<const Member> Members() const noexcept {
        return {static_cast<const Member*>(m_pItems), IsArray() ? 0U : Size()};
    }
    /// None in an object.
    std::span<const Value> Elements() const noexcept {
        return {static_cast<const Value*>(m_pItems), IsArray() ? Size() : 0U};
    }
    /// Null where there is no such key. Valid until the node is written.
    const Value* Find(std::string_view key) const noexcept;
    /// The table of the keys, where there are many.
    std::span<const Slot> Slots() const noexcept;

    /// Null for a `LooseNode`.
    Document* GetDocument() const noexcept { return m_pDocument; }
    /// What a node of a document takes there with all below it, in bytes.
    std::size_t Span() const noexcept { return m_span; }

protected:
    explicit Node(bool isArray) noexcept : m_size(0), m_isArray(isArray ? 1 : 0) {}
    ~Node() = default;

    static constexpr std::size_t kMostItems = 0x7FFFFFFF;

    void SetItems(const void* pItems, std::size_t size) noexcept {
        m_pItems = pItems;
        m_size = static_cast<std::uint32_t>(size) & kMostItems;
    }

private:
    friend class DocumentBuilder;

    const void* m_pItems = nullptr;
    Document* m_pDocument = nullptr;
    std::uint32_t m_size : 31;
    std::uint32_t m_isArray : 1;
    std::uint32_t m_span = 0;
};

// How much of a document keeps all of it: whatever is taken out of a small one, and of a larger one what is
// no smaller than this part of it.
inline constexpr std::size_t kLeastShared = 64 * 1024;
inline constexpr std::size_t kSmallestShare = 8;

/// A value that counts what it points to, and so holds it: a node of its own, a text of its own, or a whole
/// document. What is shared is never written: `Write` clones the node first, so every owner behaves as a
/// value of its own. One object belongs to one thread at a time; what it shares may be held on other threads.
class OwnedValue {
public:
    /// The empty object, which a value moved from is too.
    OwnedValue() noexcept : m_value(Kind::Object) {}
    /// Of a kind that needs no more, as the same constructor of `Value`.
    explicit OwnedValue(Kind kind) noexcept : m_value(kind) {}
    /// A text, or a number's token. Throws `std::length_error` for 4 GiB and more.
    OwnedValue(Kind kind, std::string_view text);
    /// Takes over what is counted already.
    static OwnedValue Adopt(const Value& value) noexcept {
        OwnedValue owned;
        owned.m_value = value;
        return owned;
    }
    /// Holds what another owner, or a node, holds too. What is small beside a large document is copied out of
    /// it, so that nothing held keeps more than 64 KiB, or eight times what it is.
    static OwnedValue Share(const Value& value);

    OwnedValue(const OwnedValue& other) noexcept;
    OwnedValue(OwnedValue&& other) noexcept : m_value(std::exchange(other.m_value, Value(Kind::Object))) {}
    OwnedValue& operator=(const OwnedValue& other) noexcept {
        OwnedValue copy(other);
        std::swap(m_value, copy.m_value);
        return *this;
    }
    OwnedValue& operator=(OwnedValue&& other) noexcept {
        OwnedValue moved(std::move(other));
        std::swap(m_value, moved.m_value);
        return *this;
    }
    ~OwnedValue();

    const Value& Get() const noexcept { return m_value; }
    /// What was owned, for somebody else to hold.
    Value Give() noexcept { return std::exchange(m_value, Value(Kind::Object)); }

    // Of an object or an array.
    const Node& operator*() const noexcept { return NodeOf(m_value); }
    const Node* operator->() const noexcept { return &NodeOf(m_value); }
    /// The node as this owner's own: made where there is none, cloned where it is a document's, or others
    /// hold it too.
    LooseNode& Write();

    static const Node& NodeOf(const Value& container) noexcept;

private:
    Value m_value;
};

/// Equal keys in equal order with equal values.
bool AreEqual(const Value& left, const Value& right);

}  // namespace CoreServices::Tree
