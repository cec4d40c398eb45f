#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/parameters/ShortText.h"

namespace CoreServices::Tree {

class Node;

/// What a value is. Numbers are kept as the text of their JSON token, so that none changes on its way
/// through.
enum class Kind : std::uint8_t {
    Null,
    False,
    True,
    Integer,  // no fraction, no exponent, fits 32 bits
    Double,   // any other number
    Text,
    Object,
    Array,
};

/// A value or a key in 16 bytes. Texts and tokens of up to 15 bytes lie inside, longer ones outside; an
/// object or an array is a pointer to its node, which an empty one does not need.
///
/// Plain bytes that own nothing: who keeps a value counts what it points to (`OwnedValue`, `LooseNode`), or
/// lies in the document that holds it. Two words, so that it is made and copied in registers.
class Value {
public:
    static constexpr std::size_t kInlineCapacity = 15;

    /// Null.
    Value() noexcept = default;
    /// Of a kind that needs no more: null, false, true, the empty object, the empty array.
    explicit Value(Kind kind) noexcept : m_high(TagOf(kind)) {}
    /// An object or an array.
    Value(Kind kind, Node* pNode) noexcept : m_low(reinterpret_cast<Word>(pNode)), m_high(TagOf(kind)) {}
    /// `text` fits inside.
    static Value OfShort(Kind kind, std::string_view text) noexcept {
        Value value;
        value.m_low = LoadShort(text);
        value.m_high = SecondWord(text) | TagOf(kind) | Word{text.size()} << kTagShift;
        return value;
    }
    /// `text` does not fit inside. It lies behind the head of one who holds it, a `LooseText` or a
    /// `DocumentText`, and is shorter than 4 GiB.
    static Value OfLong(Kind kind, std::string_view text, bool isInDocument) noexcept {
        Value value;
        value.m_low = reinterpret_cast<Word>(text.data());
        value.m_high = text.size() | TagOf(kind) | kOutside | (isInDocument ? kInDocument : 0);
        return value;
    }

    Kind GetKind() const noexcept { return static_cast<Kind>(m_high >> kKindShift); }
    bool IsContainer() const noexcept { return m_high >= TagOf(Kind::Object); }
    bool IsArray() const noexcept { return m_high >= TagOf(Kind::Array); }
    /// Of a text or a number. Valid while this object is, where it lies inside.
    std::string_view View() const noexcept {
        if ((m_high & kOutside) != 0)
            return {reinterpret_cast<const char*>(m_low), static_cast<std::uint32_t>(m_high)};
        return {reinterpret_cast<const char*>(this), (m_high >> kTagShift) & kInlineCapacity};
    }
    /// Whether there is a node or a long text, and so somebody who holds it.
    bool PointsToSomething() const noexcept { return IsContainer() ? m_low != 0 : IsLongText(); }
    bool IsLongText() const noexcept { return (m_high & kOutside) != 0; }
    /// Of a long text.
    bool IsInDocument() const noexcept { return (m_high & kInDocument) != 0; }
    /// Of an object or an array; may be null where it is empty.
    Node* GetNode() const noexcept { return reinterpret_cast<Node*>(m_low); }

    /// Of two values that point to nothing: whether they are equal.
    bool IsSameAs(const Value& other) const noexcept {
        return m_low == other.m_low && m_high == other.m_high;
    }

private:
    // The tag is the last byte in memory, as the first is the lowest: characters may fill all others.
    static_assert(sizeof(Word) == sizeof(Node*));
    static constexpr unsigned kTagShift = 56;
    static constexpr unsigned kKindShift = kTagShift + 5;
    static constexpr Word kOutside = Word{0x10} << kTagShift;  // else the length lies below it
    static constexpr Word kInDocument = Word{1} << kTagShift;

    static constexpr Word TagOf(Kind kind) noexcept { return static_cast<Word>(kind) << kKindShift; }

    /// Of the characters behind the first eight.
    static Word SecondWord(std::string_view text) noexcept {
        if (text.size() <= sizeof(Word))
            return 0;
        return LoadPart<Word>(text.data() + text.size() - sizeof(Word)) >>
               (2 * sizeof(Word) - text.size()) * 8;
    }

    Word m_low = 0;   // characters, or a pointer
    Word m_high = 0;  // characters, or the length of a long text; the tag
};

static_assert(sizeof(Value) == 16);

/// A member of an object. Its key is of the kind Text.
struct Member {
    Value key;
    Value value;
};

}  // namespace CoreServices::Tree
