#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "base/parameters/Tree.h"

namespace CoreServices::Tree {

/// Reads one JSON document (RFC 8259, nothing beyond it) into a tree. For one use by one thread; the text
/// must outlive the reader. Failures are `std::runtime_error` with the byte offset and what was wrong there.
///
/// Open objects and arrays stand on stacks of the reader's own, never on the machine's. Their members and
/// elements gather there too and move, once the container closes, into a node of exactly the right size.
class JsonReader {
public:
    explicit JsonReader(std::string_view text) noexcept : m_text(text) {}

    /// The empty text gives the empty object.
    NodeRef Read();

private:
    /// A container that is not closed yet.
    struct Frame {
        bool isArray = false;
        std::size_t first = 0;   // its first member or element on the stack
        std::size_t target = 0;  // in an object: the member that the next value belongs to
        KeyIndex index;
    };

    void Open();
    void Close();
    /// One member or element of the innermost container with the comma before it, or that container's end.
    void ReadItemOrClose();
    void ReadKey();
    void ReadValue();
    /// Where the value that was just read goes: into the innermost container, or the root.
    Value& Target();

    /// At an opening quote. The result lies in the document or in `m_unescaped`, until the next text is read.
    std::string_view ReadText();
    std::string_view ReadTextWithEscapes(std::size_t begin);
    void ReadEscape();
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
    std::vector<Frame> m_frames;
    std::vector<Member> m_members;  // of all open objects
    std::vector<Value> m_elements;  // of all open arrays
    std::string m_unescaped;        // the last text that held escapes
    Value m_root;
};

}  // namespace CoreServices::Tree
