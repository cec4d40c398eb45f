#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "TreeValue.h"

namespace CoreServices::Tree {

class Node;

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
    /// `text` begins with a character that does not stand for itself; gives the length of what was written.
    std::size_t WriteSpecial(std::string_view text);
    void NewLine();

    Layout m_layout;
    std::vector<Frame> m_frames;
    std::string m_out;
};

}  // namespace CoreServices::Tree
