#include "base/parameters/JsonWriter.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/parameters/JsonText.h"
#include "base/parameters/Tree.h"

namespace CoreServices::Tree {

namespace {

constexpr std::string_view kIndent = "  ";
// Deeper levels line up here: else the text of a deep tree would grow with the square of its depth.
constexpr std::size_t kDeepestIndent = 40;
constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";
constexpr std::size_t kPiece = 128;
constexpr std::size_t kSmallest = 1024;

constexpr std::size_t kLongestEscape = 6;  // of one byte, as \u001f

// The letter of an escaped character; 'u' for those that have none of their own.
constexpr char ShortEscape(char c) noexcept {
    switch (c) {
        case '"':
        case '\\':
            return c;
        case '\b':
            return 'b';
        case '\f':
            return 'f';
        case '\n':
            return 'n';
        case '\r':
            return 'r';
        case '\t':
            return 't';
        default:
            return 'u';
    }
}

char* Append(std::string_view text, char* to) noexcept {
    std::memcpy(to, text.data(), text.size());
    return to + text.size();
}

// Writes the character that `text` begins with and that does not stand for itself; cuts it off the text.
char* WriteSpecial(std::string_view& text, char* to) noexcept {
    static constexpr std::string_view kHexDigits = "0123456789abcdef";
    const char c = text.front();
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x80) {
        const std::size_t length = Utf8SequenceLength(text);
        to = Append(length != 0 ? text.substr(0, length) : kReplacementCharacter, to);
        text.remove_prefix(std::max<std::size_t>(length, 1));
        return to;
    }
    text.remove_prefix(1);
    *to++ = '\\';
    *to++ = ShortEscape(c);
    if (to[-1] == 'u') {
        to = Append("00", to);
        *to++ = kHexDigits[byte >> 4U];
        *to++ = kHexDigits[byte & 0xFU];
    }
    return to;
}

}  // namespace

std::string JsonWriter::Write(const Node& root) {
    Open(root);
    while (!m_frames.empty())
        WriteNextOrClose();
    return std::string(m_pText.get(), m_written);
}

void JsonWriter::Open(const Node& node) {
    Put(node.IsArray() ? '[' : '{');
    m_frames.push_back({&node, 0});
}

void JsonWriter::Close() {
    const Node& node = *m_frames.back().pNode;
    m_frames.pop_back();
    if (node.Size() != 0)
        NewLine();
    Put(node.IsArray() ? ']' : '}');
}

void JsonWriter::WriteNextOrClose() {
    Frame& frame = m_frames.back();
    const Node& node = *frame.pNode;
    if (frame.next == node.Size())
        return Close();
    const std::size_t current = frame.next++;
    if (current != 0)
        Put(',');
    NewLine();
    if (!node.IsArray()) {
        WriteText(node.Members()[current].key.View());
        Put(m_layout == Layout::Compact ? ":" : ": ");
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
        Put(pInteger->token.View());
    else if (const auto* pDouble = std::get_if<Double>(&value))
        Put(pDouble->token.View());
    else if (const auto* pBool = std::get_if<bool>(&value))
        Put(*pBool ? "true" : "false");
    else
        Put("null");
}

void JsonWriter::WriteText(std::string_view text) {
    constexpr std::size_t kQuotes = 2;
    char* to = Room((kPiece + 1) * kLongestEscape + kQuotes);
    *to++ = '"';
    // Piece by piece, so that room for the longest form of each is cheap. A character that begins in a piece
    // is written with it.
    while (!text.empty()) {
        const std::size_t rest = text.size() - std::min(text.size(), kPiece);
        while (text.size() > rest) {
            const std::size_t run = CopyPlainRun(text.substr(0, text.size() - rest), to);
            to += run;
            text.remove_prefix(run);
            if (text.size() > rest)
                to = WriteSpecial(text, to);
        }
        if (!text.empty()) {
            m_written = static_cast<std::size_t>(to - m_pText.get());
            to = Room((kPiece + 1) * kLongestEscape + kQuotes);
        }
    }
    *to++ = '"';
    m_written = static_cast<std::size_t>(to - m_pText.get());
}

void JsonWriter::NewLine() {
    if (m_layout == Layout::Compact)
        return;
    Put('\n');
    for (std::size_t level = std::min(m_frames.size(), kDeepestIndent); level > 0; --level)
        Put(kIndent);
}

void JsonWriter::Put(char c) {
    *Room(1) = c;
    ++m_written;
}

void JsonWriter::Put(std::string_view text) {
    Append(text, Room(text.size()));
    m_written += text.size();
}

void JsonWriter::Grow(std::size_t count) {
    const std::size_t room = std::max(2 * m_room, m_written + count + kSmallest);
    std::unique_ptr<char[]> text(new char[room]);
    if (m_written != 0)
        std::memcpy(text.get(), m_pText.get(), m_written);
    m_pText = std::move(text);
    m_room = room;
}

}  // namespace CoreServices::Tree
