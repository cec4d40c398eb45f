#include "base/parameters/JsonReader.h"

#include <algorithm>
#include <limits>
#include <new>
#include <stdexcept>

#include "base/parameters/JsonText.h"
#include "base/parameters/Number.h"

namespace CoreServices::Tree {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

constexpr bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

}  // namespace

JsonReader::Plan JsonReader::PlanOf(const JsonScan& scan) noexcept {
    constexpr std::size_t kShortestLong = Value::kInlineCapacity + 1;
    constexpr std::size_t kSlotsOfMember = 4 * sizeof(Slot);
    constexpr std::size_t kIndexOfMember = kSlotsOfMember + 2;  // with the objects that hold the tables
    constexpr std::size_t kLastKey = 2;                         // its colon may be what is missing
    constexpr std::size_t kLastText = 64;                       // escapes need room that their text does not

    const bool mayHaveTable = scan.members > kMostSearchedOneByOne;
    const std::size_t values = scan.values + kLastKey;
    const std::size_t texts =
        scan.textBytes + std::min(scan.texts, scan.textBytes / kShortestLong) * DocumentBuilder::kTextHead;
    const std::size_t tokens = 2 * scan.tokenBytes;  // of which the long ones are no shorter than their head
    return {.document = DocumentBuilder::kHead + values * sizeof(Value) +
                        scan.containers * DocumentBuilder::kNodeHead + texts + tokens + kLastText +
                        (mayHaveTable ? scan.members * kSlotsOfMember : 0),
            .stack = values,
            .indices = mayHaveTable ? scan.members * kIndexOfMember : 0};
}

JsonReader::Plan JsonReader::UsualPlan(std::size_t textSize) noexcept {
    return {.document = DocumentBuilder::kHead + 2 * textSize + 256, .stack = kSmallStack, .indices = 0};
}

std::size_t JsonReader::MostMemoryOf(std::string_view text) noexcept {
    constexpr std::size_t kTextOfFailure = 512;
    const Plan plan = PlanOf(ScanJson(text));
    const std::size_t most = BlockCost(plan.document) + plan.indices +
                             (plan.stack > kSmallStack ? BlockCost(plan.stack * sizeof(Value)) : 0);
    const bool isSmall = text.size() <= kSmallText;
    return kTextOfFailure +
           std::max(most, isSmall ? BlockCost(UsualPlan(text.size()).document) + plan.indices : 0);
}

OwnedValue JsonReader::Read(std::string_view text) {
    constexpr std::size_t kLongest = std::numeric_limits<std::uint32_t>::max();
    if (text.empty())
        return {};
    if (text.size() > kLongest)
        Fail(kLongest, "a longer text is not read");
    if (text.size() <= kSmallText) {
        try {
            return JsonReader(text, UsualPlan(text.size())).ReadDocument();
        } catch (const OutOfRoom&) {
            // The scan will tell.
        }
    }
    return JsonReader(text, PlanOf(ScanJson(text))).ReadDocument();
}

JsonReader::JsonReader(std::string_view text, const Plan& plan)
    : m_text(text), m_builder(plan.document), m_stackRoom(std::max(plan.stack, kSmallStack)) {
    void* pStack = m_smallStack.data();
    if (plan.stack > kSmallStack) {
        const std::size_t size = plan.stack * sizeof(Value);
        m_pLargeStack = UniqueBlock(AllocateBlock(size), BlockDeleter{size});
        pStack = m_pLargeStack.get();
    }
    m_pStack = static_cast<Value*>(pStack);
}

OwnedValue JsonReader::ReadDocument() {
    if (m_text.starts_with(kByteOrderMark))
        Fail(0, "a byte order mark is not allowed");
    SkipSpace();
    if (!At('{') && !At('['))
        FailExpected("an object or an array");
    Open();
    while (m_depth != 0)
        ReadItemOrClose();
    SkipSpace();
    if (!AtEnd())
        Fail(m_at, "nothing more was expected after the end of the document");
    return m_builder.Finish(m_root);
}

void JsonReader::Open() {
    if (m_depth == kDeepestNesting)
        Fail(m_at, "nesting deeper than " + std::to_string(kDeepestNesting) + " is not allowed");
    const bool isArray = m_text[m_at++] == '[';
    m_frames[m_depth++] = {isArray, false, 0, m_stackSize, m_builder.Position()};
}

void JsonReader::Close() {
    ++m_at;
    const Frame& frame = m_frames[--m_depth];
    const Kind kind = frame.isArray ? Kind::Array : Kind::Object;
    Value closed(kind);
    if (m_stackSize != frame.first)
        closed = m_builder.AddNode(kind, {m_pStack + frame.first, m_pStack + m_stackSize}, SlotsOf(frame),
                                   frame.begin);
    if (frame.hasIndex)
        m_indices.pop_back();
    m_stackSize = frame.first;
    Put(closed);
}

void JsonReader::ReadItemOrClose() {
    const Frame& frame = m_frames[m_depth - 1];
    SkipSpace();
    if (At(frame.isArray ? ']' : '}'))
        return Close();
    if (m_stackSize != frame.first) {
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
    AddKey(ReadText());
    SkipSpace();
    if (!Take(':'))
        FailExpected("a colon");
    SkipSpace();
}

void JsonReader::AddKey(std::string_view key) {
    Frame& frame = m_frames[m_depth - 1];
    std::size_t position = FindKey(key, MembersOf(frame), SlotsOf(frame));
    if (position == kKeyNotFound) {
        position = MembersOf(frame).size();
        Push(m_builder.AddText(Kind::Text, key));
        Push(Value());
        if (position + 1 > kMostSearchedOneByOne) {
            if (!std::exchange(frame.hasIndex, true))
                m_indices.emplace_back();
            m_indices.back().Appended(MembersOf(frame));
        }
    }
    frame.target = static_cast<std::uint32_t>(frame.first + 2 * position + 1);
}

void JsonReader::ReadValue() {
    switch (AtEnd() ? '\0' : m_text[m_at]) {
        case '{':
        case '[':
            return Open();
        case '"':
            return Put(m_builder.AddText(Kind::Text, ReadText()));
        case 't':
            ReadWord("true");
            return Put(Value(Kind::True));
        case 'f':
            ReadWord("false");
            return Put(Value(Kind::False));
        case 'n':
            ReadWord("null");
            return Put(Value(Kind::Null));
        default:
            if (!At('-') && (AtEnd() || !IsDigit(m_text[m_at])))
                FailExpected("a value");
            return ReadNumber();
    }
}

void JsonReader::Put(const Value& value) {
    if (m_depth == 0)
        m_root = value;
    else if (m_frames[m_depth - 1].isArray)
        Push(value);
    else
        m_pStack[m_frames[m_depth - 1].target] = value;
}

void JsonReader::Push(const Value& value) {
    if (m_stackSize == m_stackRoom)
        throw OutOfRoom();
    new (m_pStack + m_stackSize++) Value(value);
}

std::span<const Member> JsonReader::MembersOf(const Frame& frame) const noexcept {
    const void* pFirst = m_pStack + frame.first;
    return {static_cast<const Member*>(pFirst), (m_stackSize - frame.first) / 2};
}

std::span<const Slot> JsonReader::SlotsOf(const Frame& frame) const noexcept {
    return frame.hasIndex ? m_indices.back().Slots() : std::span<const Slot>();
}

std::string_view JsonReader::ReadText() {
    const std::size_t begin = ++m_at;
    SkipPlain();
    if (!At('"'))
        return ReadTextWithEscapes(begin);
    return m_text.substr(begin, m_at++ - begin);
}

std::string_view JsonReader::ReadTextWithEscapes(std::size_t begin) {
    const std::span<char> room = m_builder.TextRoom();
    char* to = room.data();
    const auto append = [&](std::string_view run) {
        // And the escape behind it, which comes out shorter than it stands.
        constexpr std::size_t kLongestCharacter = 4;
        if (run.size() + kLongestCharacter > room.size() - static_cast<std::size_t>(to - room.data()))
            throw OutOfRoom();
        to = std::copy(run.begin(), run.end(), to);
    };
    append(m_text.substr(begin, m_at - begin));
    while (!Take('"')) {
        if (AtEnd())
            FailExpected("a closing quote");
        if (!Take('\\'))
            Fail(m_at, "a control character must be escaped");
        to = ReadEscape(to);
        begin = m_at;
        SkipPlain();
        append(m_text.substr(begin, m_at - begin));
    }
    return {room.data(), to};
}

/// Behind a backslash.
char* JsonReader::ReadEscape(char* to) {
    static constexpr std::string_view kLetters = "\"\\/bfnrt";
    static constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
    if (Take('u'))
        return WriteUtf8(to, ReadCodePoint());
    const std::size_t which = AtEnd() ? std::string_view::npos : kLetters.find(m_text[m_at]);
    if (which == std::string_view::npos)
        FailExpected("an escape character");
    ++m_at;
    *to++ = kMeanings[which];
    return to;
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
    const std::string_view token = m_text.substr(begin, m_at - begin);
    Put(m_builder.AddText(KindOfNumber(token), token));
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
