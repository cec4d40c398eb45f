#include "base/parameters/JsonWriter.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "base/parameters/JsonText.h"

namespace CoreServices::Tree {

namespace {

constexpr std::string_view kIndent = "  ";
// Deeper levels line up here: else the text of a deep tree would grow with the square of its depth.
constexpr std::size_t kDeepestIndent = 40;
constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";
constexpr std::string_view kEscapedQuote = "\\\"";
constexpr std::size_t kPiece = 128;
constexpr std::size_t kLongestEscape = 7;  // of one byte, as \\u001f in a text within a text

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

}  // namespace

void JsonWriter::WriteTree(const Value& root) {
    const std::size_t outside = m_depth;
    WriteValue(root);
    while (m_depth != outside)
        WriteNextOrClose();
}

void JsonWriter::Open(const Value& container) {
    const Node& node = OwnedValue::NodeOf(container);
    Put(node.IsArray() ? '[' : '{');
    if (m_depth == m_stackRoom)
        GrowStack();
    m_pStack[m_depth++] = {&node, 0};
}

void JsonWriter::Close() {
    const Node& node = *m_pStack[--m_depth].pNode;
    if (node.Size() != 0)
        NewLine();
    Put(node.IsArray() ? ']' : '}');
}

void JsonWriter::WriteNextOrClose() {
    Frame& frame = m_pStack[m_depth - 1];
    const Node& node = *frame.pNode;
    if (frame.next == node.Size())
        return Close();
    const std::size_t current = frame.next++;
    const char separator = current != 0 ? ',' : '\0';
    if (!node.IsArray() && m_layout == Layout::Compact) {
        const Member& member = node.Members()[current];
        WriteText(member.key.View(), separator, ':');
        return WriteValue(member.value);
    }
    if (separator != '\0')
        Put(separator);
    NewLine();
    if (node.IsArray())
        return WriteValue(node.Elements()[current]);
    WriteText(node.Members()[current].key.View(), '\0', ':');
    Put(' ');
    WriteValue(node.Members()[current].value);
}

void JsonWriter::WriteValue(const Value& value) {
    switch (value.GetKind()) {
        case Kind::Null:
            return Put("null");
        case Kind::False:
            return Put("false");
        case Kind::True:
            return Put("true");
        case Kind::Integer:
        case Kind::Double:
            return Put(value.View());
        case Kind::Text:
            return WriteText(value.View());
        case Kind::Object:
        case Kind::Array:
            return Open(value);
    }
}

void JsonWriter::WriteText(std::string_view text, char before, char after) {
    constexpr std::size_t kRoom = (kPiece + 1) * kLongestEscape + 2 * (1 + kEscapedQuote.size());
    char* to = Room(kRoom);
    if (before != '\0')
        *to++ = before;
    to = WriteQuote(to);
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
            m_written = static_cast<std::size_t>(to - m_pText);
            to = Room(kRoom);
        }
    }
    to = WriteQuote(to);
    if (after != '\0')
        *to++ = after;
    m_written = static_cast<std::size_t>(to - m_pText);
}

char* JsonWriter::WriteQuote(char* to) const noexcept {
    return m_isInText ? Append(kEscapedQuote, to) : Append("\"", to);
}

char* JsonWriter::WriteSpecial(std::string_view& text, char* to) const noexcept {
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
    if (m_isInText)
        *to++ = '\\';
    const char letter = ShortEscape(c);
    if (m_isInText && (letter == '"' || letter == '\\'))
        *to++ = '\\';
    *to++ = letter;
    if (letter == 'u') {
        to = Append("00", to);
        *to++ = kHexDigits[byte >> 4U];
        *to++ = kHexDigits[byte & 0xFU];
    }
    return to;
}

void JsonWriter::OpenText() {
    Put('"');
    m_isInText = true;
}

void JsonWriter::CloseText() {
    m_isInText = false;
    Put('"');
}

void JsonWriter::NewLine() {
    if (m_layout == Layout::Compact)
        return;
    Put('\n');
    for (std::size_t level = std::min(m_depth, kDeepestIndent); level > 0; --level)
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
    const std::size_t room = std::max(2 * m_room, m_written + count);
    std::unique_ptr<char[]> pText(new char[room]);
    std::memcpy(pText.get(), m_pText, m_written);
    m_pLargeText = std::move(pText);
    m_pText = m_pLargeText.get();
    m_room = room;
}

void JsonWriter::GrowStack() {
    std::unique_ptr<Frame[]> pFrames(new Frame[2 * m_stackRoom]);
    std::copy_n(m_pStack, m_depth, pFrames.get());
    m_pManyFrames = std::move(pFrames);
    m_pStack = m_pManyFrames.get();
    m_stackRoom *= 2;
}

}  // namespace CoreServices::Tree
