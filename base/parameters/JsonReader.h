#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/parameters/Block.h"
#include "base/parameters/Document.h"
#include "base/parameters/JsonScan.h"
#include "base/parameters/KeyIndex.h"
#include "base/parameters/Tree.h"
#include "base/parameters/Value.h"

namespace CoreServices::Tree {

/// Reads one JSON document (RFC 8259, nothing beyond it) into a tree. For one use by one thread; the text
/// must outlive the reader. Failures are `std::runtime_error` with the byte offset and what was wrong there.
///
/// Nothing grows: the document is one block, and a stack, a second one where it is not small, holds the items
/// of what is open. They move, once their container closes, into a node of exactly the right size. How much
/// memory will do is known before: a small text gets what such texts need as a rule, and where that is too
/// little, or the text is larger, a scan of it says more.
class JsonReader {
public:
    /// The empty text gives the empty object.
    static OwnedValue Read(std::string_view text);

    /// As `Parameters::MostMemoryOf`.
    static std::size_t MostMemoryOf(std::string_view text) noexcept;

private:
    struct Plan {
        std::size_t document;  // in bytes
        std::size_t stack;     // in values
        std::size_t indices;   // in bytes, of the tables of keys in open objects
    };
    /// A container that is not closed yet.
    struct Frame {
        bool isArray;
        bool hasIndex;         // the last of `m_indices`, once all behind it are closed
        std::uint32_t target;  // in an object: the value on the stack that is read next
        std::size_t first;     // its first value on the stack
        const char* begin;     // its first part in the document
    };
    // On the machine's stack: what small documents need at most.
    static constexpr std::size_t kSmallStack = 256;

    static constexpr std::size_t kSmallText = 8 * 1024;

    static Plan PlanOf(const JsonScan& scan) noexcept;
    static Plan UsualPlan(std::size_t textSize) noexcept;

    JsonReader(std::string_view text, const Plan& plan);

    OwnedValue ReadDocument();
    void Open();
    void Close();
    /// One member or element of the innermost container with the comma before it, or that container's end.
    void ReadItemOrClose();
    void ReadKey();
    void AddKey(std::string_view key);
    void ReadValue();
    /// Where a value goes that was just read: into the innermost container, or the root.
    void Put(const Value& value);
    void Push(const Value& value);
    std::span<const Member> MembersOf(const Frame& frame) const noexcept;
    std::span<const Slot> SlotsOf(const Frame& frame) const noexcept;

    /// At an opening quote. The result lies in the text, or in the builder's room until that is used.
    std::string_view ReadText();
    std::string_view ReadTextWithEscapes(std::size_t begin);
    char* ReadEscape(char* to);
    char32_t ReadCodePoint();
    char32_t ReadHexUnit();
    void ReadNumber();
    void ReadDigits();
    void ReadWord(std::string_view word);

    /// Moves past plain characters, checking their UTF-8, to a quote, a backslash or a control character.
    void SkipPlain();
    void SkipSpace() noexcept;
    bool AtEnd() const noexcept { return m_at == m_text.size(); }
    bool At(char c) const noexcept { return !AtEnd() && m_text[m_at] == c; }
    bool Take(char c) noexcept;
    /// "<wanted> was expected", or that the text ends before it.
    [[noreturn]] void FailExpected(std::string_view wanted) const;
    [[noreturn]] static void Fail(std::size_t offset, const std::string& what);

    std::string_view m_text;
    std::size_t m_at = 0;
    DocumentBuilder m_builder;
    Value m_root;
    UniqueBlock m_pLargeStack;
    Value* m_pStack;  // of all open containers: elements, and members as pairs of key and value
    std::size_t m_stackRoom;
    std::size_t m_stackSize = 0;
    std::vector<KeyIndex> m_indices;  // of open objects with many members
    std::size_t m_depth = 0;
    // Not initialised: most texts need little of them.
    std::array<Frame, kDeepestNesting> m_frames;
    alignas(Value) std::array<std::byte, kSmallStack * sizeof(Value)> m_smallStack;
};

}  // namespace CoreServices::Tree
