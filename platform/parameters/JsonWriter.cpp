#include "JsonWriter.h"

#include <algorithm>
#include <utility>

#include "JsonPlain.h"
#include "TreeNode.h"
#include "Utf8.h"

namespace CoreServices::Tree {

namespace {

constexpr std::size_t kIndentWidth = 2;
// Deeper levels line up here: else the text of a deep tree would grow with the square of its depth.
constexpr std::size_t kDeepestIndent = 40;
constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

}  // namespace

std::string JsonWriter::Write(const Node& root) {
    m_out.reserve(256);
    Open(root);
    while (!m_frames.empty())
        WriteNextOrClose();
    return std::move(m_out);
}

void JsonWriter::Open(const Node& node) {
    m_out.push_back(node.IsArray() ? '[' : '{');
    m_frames.push_back({&node, 0});
}

void JsonWriter::Close() {
    const Node& node = *m_frames.back().pNode;
    m_frames.pop_back();
    if (node.Size() != 0)
        NewLine();
    m_out.push_back(node.IsArray() ? ']' : '}');
}

void JsonWriter::WriteNextOrClose() {
    Frame& frame = m_frames.back();
    const Node& node = *frame.pNode;
    if (frame.next == node.Size())
        return Close();
    const std::size_t current = frame.next++;
    if (current != 0)
        m_out.push_back(',');
    NewLine();
    if (!node.IsArray()) {
        WriteText(node.Members()[current].key.View());
        m_out.append(m_layout == Layout::Compact ? ":" : ": ");
    }
    const Value& value = node.IsArray() ? node.Elements()[current] : node.Members()[current].value;
    if (const auto* pChild = std::get_if<NodeRef>(&value))
        Open(**pChild);
    else
        WriteScalar(value);
}

void JsonWriter::WriteScalar(const Value& value) {
    if (const auto* pText = std::get_if<Text>(&value))
        WriteText(pText->View());
    else if (const auto* pInteger = std::get_if<Integer>(&value))
        m_out.append(pInteger->token.View());
    else if (const auto* pDouble = std::get_if<Double>(&value))
        m_out.append(pDouble->token.View());
    else if (const auto* pBool = std::get_if<bool>(&value))
        m_out.append(*pBool ? "true" : "false");
    else
        m_out.append("null");
}

void JsonWriter::WriteText(std::string_view text) {
    m_out.push_back('"');
    while (!text.empty()) {
        const std::size_t run = PlainRunLength(text);
        m_out.append(text.substr(0, run));
        text.remove_prefix(run);
        if (!text.empty())
            text.remove_prefix(WriteSpecial(text));
    }
    m_out.push_back('"');
}

std::size_t JsonWriter::WriteSpecial(std::string_view text) {
    static constexpr std::string_view kShort = "\"\\\b\f\n\r\t";
    static constexpr std::string_view kShortLetters = "\"\\bfnrt";
    static constexpr std::string_view kHexDigits = "0123456789abcdef";
    const char c = text.front();
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x80) {
        const std::size_t length = Utf8SequenceLength(text);
        m_out.append(length != 0 ? text.substr(0, length) : kReplacementCharacter);
        return std::max<std::size_t>(length, 1);
    }
    m_out.push_back('\\');
    if (const std::size_t which = kShort.find(c); which != std::string_view::npos) {
        m_out.push_back(kShortLetters[which]);
    } else {
        m_out.append("u00");
        m_out.push_back(kHexDigits[byte >> 4U]);
        m_out.push_back(kHexDigits[byte & 0xFU]);
    }
    return 1;
}

void JsonWriter::NewLine() {
    if (m_layout == Layout::Compact)
        return;
    m_out.push_back('\n');
    m_out.append(std::min(m_frames.size(), kDeepestIndent) * kIndentWidth, ' ');
}

}  // namespace CoreServices::Tree
