#pragma once

#include <atomic>
#include <cstddef>
#include <span>
#include <stdexcept>
#include <string_view>

#include "base/parameters/KeyIndex.h"
#include "base/parameters/Tree.h"
#include "base/parameters/Value.h"

namespace CoreServices::Tree {

/// All that was read from one text, in one block: nodes, members, elements and long texts. Counted as a
/// whole: each reference from outside holds all of it, those within it are not counted. Nothing of it changes
/// once it is built, so any thread may read it, and when the last reference goes nothing need be walked. A
/// large one is mapped, and goes back to the system at once.
class Document {
public:
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    void Retain(std::size_t references) noexcept {
        m_references.fetch_add(references, std::memory_order_relaxed);
    }
    void Release(std::size_t references) noexcept;

    /// In bytes.
    std::size_t Size() const noexcept { return m_size; }

private:
    friend class DocumentBuilder;

    explicit Document(std::size_t size) noexcept : m_size(size) {}
    ~Document() = default;

    std::atomic<std::size_t> m_references{1};
    std::size_t m_size;
};

/// The head of a long text of a document, right before its characters.
struct DocumentText {
    Document* pDocument;
};

/// Thrown where a document needs more room than it was given.
class OutOfRoom : public std::logic_error {
public:
    OutOfRoom() : std::logic_error("JSON: a document needs more room than was reckoned") {}
};

/// Builds one document in the room that it is given; throws `OutOfRoom` where that does not do. For one use
/// by one thread.
class DocumentBuilder {
public:
    // What the parts of a document take.
    static constexpr std::size_t kHead = sizeof(Document);
    static constexpr std::size_t kNodeHead = sizeof(Node);
    /// Of a long text beside its characters, at most.
    static constexpr std::size_t kTextHead = sizeof(DocumentText) + alignof(Document*) - 1;
    static constexpr std::size_t OfSlots(std::size_t slots) noexcept { return slots * sizeof(Slot); }

    /// Throws `std::bad_alloc`.
    explicit DocumentBuilder(std::size_t size);
    DocumentBuilder(const DocumentBuilder&) = delete;
    DocumentBuilder& operator=(const DocumentBuilder&) = delete;
    /// Frees the document unless it was finished.
    ~DocumentBuilder();

    /// Where the next part begins.
    const char* Position() const noexcept { return m_pNext; }
    Value AddText(Kind kind, std::string_view text);
    /// Room for the characters of a text that is not known yet, and its end. `AddText` of what was written
    /// there does not copy it.
    std::span<char> TextRoom() noexcept;
    /// A node of the items, which are members as pairs of key and value, or elements. What lies below it was
    /// added since `begin`.
    Value AddNode(Kind kind, std::span<const Value> items, std::span<const Slot> slots, const char* begin);

    /// The document is finished with its root, which holds it.
    OwnedValue Finish(const Value& root) noexcept;

private:
    char* Take(std::size_t size);

    Document* m_pDocument;
    char* m_pNext;
    char* m_pEnd;
};

/// A part of a document as a document of its own, no larger than it must be.
OwnedValue CopyOut(const Node& node);

}  // namespace CoreServices::Tree
