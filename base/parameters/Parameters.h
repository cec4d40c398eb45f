#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/parameters/Tree.h"

namespace CoreServices {

/// The tree of named values in which message bodies and stored documents travel.
///
/// A value type: copies are independent of each other and cheap, since subtrees are shared until one side is
/// written. One object belongs to one thread at a time; copies may be used on different threads at once.
///
/// What was read from one text lies in one block of memory, which its copies, and the subtrees and values
/// taken out of it, hold as a whole. A part that is small beside it, less than an eighth of more than 64 KiB,
/// is copied when it is taken: so what is kept of a document takes at most 64 KiB, or eight times what it
/// needs. A tree that was written still holds the document as long as anything of it is left. Blocks of 128
/// KiB and more are mapped, and go back to the system with their last holder.
///
/// A tree is an object (keys in the order in which they were first set; setting a key again keeps its place)
/// or, where `IsArray()` is true, an array. A new tree is an empty object. Operations that take a key see no
/// keys in an array; those that write a key into an array throw `std::logic_error`.
///
/// Readers are strict: a value of another type reads as absent and leaves `out` alone. A number without
/// fraction and exponent that fits 32 bits is an integer, every other number a double; either keeps the text
/// that it came with.
class Parameters {
public:
    Parameters() noexcept = default;
    // Copying, moving and destroying are the compiler's: a tree moved from is an empty object.

    // Writing. A key that is there already keeps its place and changes its value.
    void SetParameter(std::string_view key, std::string_view text);
    void SetParameter(std::string_view key, const char* text);
    void SetParameter(std::string_view key, bool value);
    void SetParameter(std::string_view key, const void* pointer) = delete;  // no pointer is meant as a bool
    void SetParameter(std::string_view key, std::int32_t value);
    /// Writes the shortest text that reads back as the same double, always with a fraction or an exponent, so
    /// that it stays a double. Throws `std::invalid_argument` for infinities and NaN, which JSON cannot hold.
    void SetParameter(std::string_view key, double value);
    void SetParameterNull(std::string_view key);
    void SetChildParameters(std::string_view key, Parameters child);
    /// Copies the value under `sourceKey` of `source`, of whatever type, without changing a number's text.
    /// False, and nothing written, where there is none.
    bool CopyValue(const Parameters& source, std::string_view sourceKey, std::string_view key);

    // Reading. False when the key is absent or holds another type; `out` is then unchanged.
    bool GetParameter(std::string_view key, std::string& out) const;
    bool GetParameter(std::string_view key, bool& out) const;
    bool GetParameter(std::string_view key, std::int32_t& out) const;
    /// A number too large for a double reads as an infinity.
    bool GetParameter(std::string_view key, double& out) const;
    bool HasParameter(std::string_view key) const;
    /// A child is an object or an array.
    bool GetChildParameters(std::string_view key, Parameters& out) const;
    /// The child, or an empty tree.
    Parameters GetChildParameters(std::string_view key) const;

    // Arrays under a key. The adding operations create the array; a value of another type is replaced by it.
    void AddArrayParameter(std::string_view key, std::string_view text);
    void AddArrayChildParameters(std::string_view key, Parameters child);
    /// An array that is there already loses its elements.
    void AddEmptyArray(std::string_view key);
    /// 0 when the key is absent or holds no array.
    std::size_t GetArrayNumValues(std::string_view key) const;
    /// Texts only. False when there is no such element or it is no text.
    bool GetArrayNthValue(std::string_view key, std::size_t n, std::string& out) const;
    /// False when there is no such element or it is neither object nor array.
    bool GetArrayNthChildParameters(std::string_view key, std::size_t n, Parameters& out) const;
    Parameters GetArrayNthChildParameters(std::string_view key, std::size_t n) const;

    // A tree that is itself an array.
    bool IsArray() const noexcept;
    std::size_t GetArrayNumValues() const noexcept;
    /// The element, or an empty tree when there is none or it is neither object nor array.
    Parameters GetArrayNthChildParameters(std::size_t n) const;

    /// Removes the key, if it is there.
    void ClearParameter(std::string_view key);
    /// Leaves an empty object.
    void ClearParameters() noexcept;
    /// No keys, or no elements.
    bool IsEmpty() const noexcept;
    /// In order; empty for an array.
    std::vector<std::string> GetTopLevelParameterNames() const;

    /// JSON text without white space; an empty tree gives "{}" or "[]".
    std::string toJSON() const;
    /// Strict JSON (RFC 8259) in UTF-8: one document whose root is an object or an array. The empty text
    /// gives the empty tree, a repeated key keeps its last value. Throws `std::runtime_error` that names the
    /// byte offset and what was wrong there; so too for nesting deeper than 512.
    static Parameters fromJSON(std::string_view text);
    /// At least the bytes that `fromJSON(text)` takes of the heap at its peak, the tree that it gives
    /// included, whether or not the text is JSON. A scan of the punctuation finds it, faster than reading by
    /// far.
    static std::size_t MostMemoryOf(std::string_view text) noexcept;
    /// What a tree takes of the heap that was read from JSON and not written since; 0 for any other.
    std::size_t DocumentBytes() const noexcept;
    /// For people: indented. Values may be shown at length.
    std::string debugString() const;

    /// Equal keys in equal order with equal values; numbers are equal when their texts are.
    friend bool operator==(const Parameters& left, const Parameters& right) noexcept;

private:
    friend class JsonObjectText;

    explicit Parameters(Tree::OwnedValue root) noexcept : m_root(std::move(root)) {}

    Tree::OwnedValue m_root;
};

}  // namespace CoreServices
