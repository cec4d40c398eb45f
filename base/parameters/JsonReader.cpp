#include "base/parameters/JsonReader.h"

#include <iterator>
#include <memory>
#include <span>
#include <stdexcept>
#include <utility>

#include "base/parameters/JsonText.h"
#include "base/parameters/Tree.h"

namespace CoreServices::Tree {

namespace {

constexpr std::size_t kDeepestNesting = 512;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

constexpr bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

template <typename T>
std::vector<T> TakeTail(std::vector<T>& stack, std::size_t first) {
    const auto begin = stack.begin() + static_cast<std::ptrdiff_t>(first);
    std::vector<T> tail(std::make_move_iterator(begin), std::make_move_iterator(stack.end()));
    stack.erase(begin, stack.end());
    return tail;
}

}  // namespace

NodeRef JsonReader::Read() {
    if (m_text.empty())
        return {};
    if (m_text.starts_with(kByteOrderMark))
        Fail(0, "a byte order mark is not allowed");
    SkipSpace();
    if (!At('{') && !At('['))
        FailExpected("an object or an array");
    m_members.reserve(32);
    Open();
    while (!m_frames.empty())
        ReadItemOrClose();
    SkipSpace();
    if (!AtEnd())
        Fail(m_at, "nothing more was expected after the end of the document");
    return std::get<NodeRef>(std::move(m_root));
}

void JsonReader::Open() {
    if (m_frames.size() == kDeepestNesting)
        Fail(m_at, "nesting deeper than " + std::to_string(kDeepestNesting) + " is not allowed");
    const bool isArray = m_text[m_at++] == '[';
    m_frames.push_back({isArray, isArray ? m_elements.size() : m_members.size(), 0, {}});
}

void JsonReader::Close() {
    ++m_at;
    Frame frame = std::move(m_frames.back());
    m_frames.pop_back();
    NodeRef node;
    if (frame.isArray)
        node = NodeRef(std::make_unique<Node>(TakeTail(m_elements, frame.first)));
    else if (m_members.size() != frame.first)
        node = NodeRef(std::make_unique<Node>(TakeTail(m_members, frame.first), std::move(frame.index)));
    // Only now: the place of the new node may lie on the stack whose tail was just taken.
    Target().emplace<NodeRef>(std::move(node));
}

void JsonReader::ReadItemOrClose() {
    const Frame& frame = m_frames.back();
    const bool isFirst = frame.first == (frame.isArray ? m_elements.size() : m_members.size());
    SkipSpace();
    if (At(frame.isArray ? ']' : '}'))
        return Close();
    if (!isFirst) {
        if (!Take(','))
            FailExpected(frame.isArray ? "a comma or a closing bracket" : "a comma or a closing brace");
        SkipSpace();
    }
    if (!frame.isArray)
        ReadKey();
    ReadValue();
}

void JsonReader::ReadKey() {
    if (!At('"'))
        FailExpected("a key in double quotes");
    const std::string_view key = ReadText();
    Frame& frame = m_frames.back();
    const std::size_t position = frame.index.Find(key, std::span(m_members).subspan(frame.first));
    if (position == KeyIndex::kNotFound) {
        frame.target = m_members.size();
        m_members.emplace_back(key);
        frame.index.Appended(std::span(m_members).subspan(frame.first));
    } else {
        frame.target = frame.first + position;
    }
    SkipSpace();
    if (!Take(':'))
        FailExpected("a colon");
    SkipSpace();
}

void JsonReader::ReadValue() {
    switch (AtEnd() ? '\0' : m_text[m_at]) {
        case '{':
        case '[':
            return Open();
        case '"':
            Target().emplace<Text>(ReadText());
            return;
        case 't':
            ReadWord("true");
            Target().emplace<bool>(true);
            return;
        case 'f':
            ReadWord("false");
            Target().emplace<bool>(false);
            return;
        case 'n':
            ReadWord("null");
            Target().emplace<Null>();
            return;
        default:
            if (!At('-') && (AtEnd() || !IsDigit(m_text[m_at])))
                FailExpected("a value");
            return ReadNumber();
    }
}

Value& JsonReader::Target() {
    if (m_frames.empty())
        return m_root;
    if (m_frames.back().isArray)
        return m_elements.emplace_back();
    return m_members[m_frames.back().target].value;
}

std::string_view JsonReader::ReadText() {
    const std::size_t begin = ++m_at;
    SkipPlain();
    if (!At('"'))
        return ReadTextWithEscapes(begin);
    return m_text.substr(begin, m_at++ - begin);
}

std::string_view JsonReader::ReadTextWithEscapes(std::size_t begin) {
    m_unescaped.assign(m_text.substr(begin, m_at - begin));
    while (!Take('"')) {
        if (AtEnd())
            FailExpected("a closing quote");
        if (!Take('\\'))
            Fail(m_at, "a control character must be escaped");
        ReadEscape();
        begin = m_at;
        SkipPlain();
        m_unescaped.append(m_text.substr(begin, m_at - begin));
    }
    return m_unescaped;
}

/// Behind a backslash.
void JsonReader::ReadEscape() {
    static constexpr std::string_view kLetters = "\"\\/bfnrt";
    static constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
    if (Take('u'))
        return AppendUtf8(m_unescaped, ReadCodePoint());
    const std::size_t which = AtEnd() ? std::string_view::npos : kLetters.find(m_text[m_at]);
    if (which == std::string_view::npos)
        FailExpected("an escape character");
    m_unescaped.push_back(kMeanings[which]);
    ++m_at;
}

/// Behind a backslash and a "u".
char32_t JsonReader::ReadCodePoint() {
    const std::size_t begin = m_at - 2;
    const char32_t unit = ReadHexUnit();
    if (unit < 0xD800 || unit > 0xDFFF)
        return unit;
    if (unit < 0xDC00 && Take('\\') && Take('u')) {
        const char32_t low = ReadHexUnit();
        if (low >= 0xDC00 && low <= 0xDFFF)
            return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
    }
    Fail(begin, "one half of a surrogate pair stands alone");
}

char32_t JsonReader::ReadHexUnit() {
    char32_t unit = 0;
    for (int i = 0; i < 4; ++i, ++m_at) {
        const char c = AtEnd() ? '\0' : m_text[m_at];
        unsigned digit = 0;
        if (IsDigit(c))
            digit = static_cast<unsigned>(c - '0');
        else if (c >= 'a' && c <= 'f')
            digit = static_cast<unsigned>(c - 'a') + 10;
        else if (c >= 'A' && c <= 'F')
            digit = static_cast<unsigned>(c - 'A') + 10;
        else
            FailExpected("a hexadecimal digit");
        unit = unit * 16 + digit;
    }
    return unit;
}

/// At a digit or a minus sign.
void JsonReader::ReadNumber() {
    const std::size_t begin = m_at;
    Take('-');
    if (!Take('0'))
        ReadDigits();
    if (Take('.'))
        ReadDigits();
    if (Take('e') || Take('E')) {
        if (!Take('+'))
            Take('-');
        ReadDigits();
    }
    SetNumber(Target(), m_text.substr(begin, m_at - begin));
}

void JsonReader::ReadDigits() {
    if (AtEnd() || !IsDigit(m_text[m_at]))
        FailExpected("a digit");
    while (!AtEnd() && IsDigit(m_text[m_at]))
        ++m_at;
}

void JsonReader::ReadWord(std::string_view word) {
    if (!m_text.substr(m_at).starts_with(word))
        Fail(m_at, "a value was expected");
    m_at += word.size();
}

void JsonReader::SkipPlain() {
    for (;;) {
        m_at += PlainRunLength(m_text.substr(m_at));
        if (AtEnd() || static_cast<unsigned char>(m_text[m_at]) < 0x80)
            return;
        const std::size_t length = Utf8SequenceLength(m_text.substr(m_at));
        if (length == 0)
            Fail(m_at, "this is no valid UTF-8");
        m_at += length;
    }
}

void JsonReader::SkipSpace() noexcept {
    while (At(' ') || At('\n') || At('\r') || At('\t'))
        ++m_at;
}

bool JsonReader::Take(char c) noexcept {
    if (!At(c))
        return false;
    ++m_at;
    return true;
}

void JsonReader::FailExpected(std::string_view wanted) const {
    Fail(m_at, (AtEnd() ? "the document ends where " : "") + std::string(wanted) + " was expected");
}

void JsonReader::Fail(std::size_t offset, const std::string& what) {
    throw std::runtime_error("JSON: byte " + std::to_string(offset) + ": " + what);
}

}  // namespace CoreServices::Tree
