#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "base/parameters/Tree.h"
#include "base/parameters/Value.h"

namespace CoreServices::Tree {

/// Writes JSON text: whole trees, however deep they are, without recursion, or the parts of one. A tree's
/// text is always valid JSON: bytes of keys and texts that are no UTF-8 come out as U+FFFD. For one use by
/// one thread.
class JsonWriter {
public:
    enum class Layout {
        Compact,   // no white space
        Indented,  // for people
    };

    explicit JsonWriter(Layout layout) noexcept : m_layout(layout) {}

    void WriteTree(const Value& root);
    /// In quotes, with a sign right before and one right behind them, where these are not NUL.
    void WriteText(std::string_view text, char before = '\0', char after = '\0');
    void Put(char c);
    /// As it stands.
    void Put(std::string_view text);
    /// Between these two, all that is written is the content of a text: each character comes out as a text
    /// needs it. `Put` is for what needs no escape there.
    void OpenText();
    void CloseText();

    std::string Result() const { return std::string(m_pText, m_written); }

private:
    /// A container that is being written.
    struct Frame {
        const Node* pNode;
        std::size_t next;  // member or element
    };

    void Open(const Value& container);
    void Close();
    void WriteNextOrClose();
    void WriteValue(const Value& value);
    char* WriteQuote(char* to) const noexcept;
    /// The form of the character that `text` begins with and that does not stand for itself; cuts it off.
    char* WriteSpecial(std::string_view& text, char* to) const noexcept;
    void NewLine();

    /// Where to write, with room for so many bytes.
    char* Room(std::size_t count) {
        if (m_room - m_written < count)
            Grow(count);
        return m_pText + m_written;
    }
    void Grow(std::size_t count);
    void GrowStack();

    static constexpr std::size_t kSmallText = 8 * 1024;
    static constexpr std::size_t kFewLevels = 32;

    // Not initialised: what small trees need, on the machine's stack.
    std::array<Frame, kFewLevels> m_fewFrames;
    std::array<char, kSmallText> m_smallText;

    Layout m_layout;
    bool m_isInText = false;
    std::size_t m_depth = 0;
    std::size_t m_stackRoom = kFewLevels;
    Frame* m_pStack = m_fewFrames.data();
    std::unique_ptr<Frame[]> m_pManyFrames;
    char* m_pText = m_smallText.data();
    std::size_t m_room = kSmallText;
    std::size_t m_written = 0;             // of the room
    std::unique_ptr<char[]> m_pLargeText;  // not a string, which would fill the room before it is written to
};

}  // namespace CoreServices::Tree
