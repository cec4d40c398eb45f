#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/parameters/Tree.h"

namespace CoreServices::Tree {

/// Writes a tree as JSON text, however deep it is, without recursion. The text is always valid JSON: bytes
/// of keys and texts that are no UTF-8 come out as U+FFFD. For one use by one thread.
class JsonWriter {
public:
    enum class Layout {
        Compact,   // no white space
        Indented,  // for people
    };

    explicit JsonWriter(Layout layout) noexcept : m_layout(layout) {}

    std::string Write(const Node& root);

private:
    /// A container that is being written.
    struct Frame {
        const Node* pNode;
        std::size_t next;  // member or element
    };

    void Open(const Node& node);
    void Close();
    void WriteNextOrClose();
    void WriteScalar(const Value& value);
    void WriteText(std::string_view text);
    void NewLine();

    void Put(char c);
    void Put(std::string_view text);
    /// Where to write, with room for so many bytes.
    char* Room(std::size_t count) {
        if (m_room - m_written < count)
            Grow(count);
        return m_pText.get() + m_written;
    }
    void Grow(std::size_t count);

    Layout m_layout;
    std::vector<Frame> m_frames;
    std::unique_ptr<char[]> m_pText;  // not a string, which would fill the room before it is written to
    std::size_t m_room = 0;
    std::size_t m_written = 0;  // of the room
};

}  // namespace CoreServices::Tree
