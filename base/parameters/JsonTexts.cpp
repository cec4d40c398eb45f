#include "base/parameters/JsonTexts.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "base/parameters/JsonScan.h"
#include "base/parameters/JsonText.h"
#include "base/parameters/Parameters.h"

namespace CoreServices {

namespace {

constexpr bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

// A text as it stands between its quotes.
std::string Unescaped(std::string_view inQuotes) {
    if (inQuotes.find('\\') == std::string_view::npos) {
        return std::string(inQuotes);
    }
    std::string text;
    Parameters::fromJSON("{\"\":\"" + std::string(inQuotes) + "\"}").GetParameter("", text);
    return text;
}

// Each step is false where the document is none.
class Walk {
public:
    Walk(std::string_view json, std::span<const std::string_view> keys) : m_json(json), m_keys(keys) {
        m_found.resize(keys.size());
    }

    bool Document() {
        if (m_json.empty()) {
            return true;
        }
        SkipSpace();
        if ((!At('{') && !At('[')) || !Open()) {
            return false;
        }
        while (m_depth != 0) {
            if (!ItemOrEnd()) {
                return false;
            }
        }
        SkipSpace();
        return m_at == m_json.size();
    }

    /// As they stand in the document, for each key.
    const std::vector<std::string_view>& Found() const { return m_found; }

private:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    struct Frame {
        bool isArray = false;
        bool hasItems = false;
    };

    bool Open() {
        if (m_depth == m_frames.size()) {
            return false;
        }
        m_frames[m_depth++] = {m_json[m_at++] == '[', false};
        return true;
    }

    bool ItemOrEnd() {
        Frame& frame = m_frames[m_depth - 1];
        SkipSpace();
        if (Take(frame.isArray ? ']' : '}')) {
            --m_depth;
            return true;
        }
        if (frame.hasItems) {
            if (!Take(',')) {
                return false;
            }
            SkipSpace();
        }
        frame.hasItems = true;
        m_wanted = kNone;
        return (frame.isArray || Key()) && Value();
    }

    bool Key() {
        std::string_view key;
        if (!Text(key)) {
            return false;
        }
        if (m_depth == 1) {
            m_wanted = Find(key);
        }
        SkipSpace();
        if (!Take(':')) {
            return false;
        }
        SkipSpace();
        return true;
    }

    std::size_t Find(std::string_view key) const {
        const auto place = key.find('\\') == std::string_view::npos
                               ? std::ranges::find(m_keys, key)
                               : std::ranges::find(m_keys, Unescaped(key));
        return place == m_keys.end() ? kNone : static_cast<std::size_t>(place - m_keys.begin());
    }

    bool Value() {
        std::string_view text;
        const bool isText = At('"');
        if (isText ? !Text(text) : !OtherValue()) {
            return false;
        }
        if (m_wanted != kNone) {
            m_found[m_wanted] = text;  // the last one counts, of whatever type
        }
        return true;
    }

    bool OtherValue() {
        switch (m_at == m_json.size() ? '\0' : m_json[m_at]) {
            case '{':
            case '[':
                return Open();
            case 't':
                return Word("true");
            case 'f':
                return Word("false");
            case 'n':
                return Word("null");
            default:
                return Number();
        }
    }

    bool Word(std::string_view word) {
        const bool isThere = m_json.substr(m_at).starts_with(word);
        m_at += isThere ? word.size() : 0;
        return isThere;
    }

    bool Number() {
        Take('-');
        if (!Take('0') && !Digits()) {
            return false;
        }
        if (Take('.') && !Digits()) {
            return false;
        }
        if (Take('e') || Take('E')) {
            if (!Take('+')) {
                Take('-');
            }
            return Digits();
        }
        return true;
    }

    bool Digits() {
        const std::size_t begin = m_at;
        while (m_at < m_json.size() && IsDigit(m_json[m_at])) {
            ++m_at;
        }
        return m_at != begin;
    }

    bool Text(std::string_view& inQuotes) {
        if (!Take('"')) {
            return false;
        }
        const std::size_t begin = m_at;
        for (;;) {
            m_at += Tree::PlainRunLength(m_json.substr(m_at));
            if (m_at == m_json.size()) {
                return false;
            }
            if (Take('"')) {
                inQuotes = m_json.substr(begin, m_at - 1 - begin);
                return true;
            }
            if (Take('\\') ? !Escape() : !Utf8()) {
                return false;
            }
        }
    }

    bool Utf8() {
        const std::size_t length = static_cast<unsigned char>(m_json[m_at]) < 0x80
                                       ? 0  // a control character
                                       : Tree::Utf8SequenceLength(m_json.substr(m_at));
        m_at += length;
        return length != 0;
    }

    bool Escape() {
        switch (m_at == m_json.size() ? '\0' : m_json[m_at++]) {
            case '"':
            case '\\':
            case '/':
            case 'b':
            case 'f':
            case 'n':
            case 'r':
            case 't':
                return true;
            case 'u':
                return CodePoint();
            default:
                return false;
        }
    }

    bool CodePoint() {
        const auto isLow = [](unsigned unit) { return unit >= 0xDC00 && unit < 0xE000; };
        unsigned unit = 0;
        if (!Unit(unit) || isLow(unit)) {
            return false;
        }
        const bool isHigh = unit >= 0xD800 && unit < 0xDC00;
        return !isHigh || (Take('\\') && Take('u') && Unit(unit) && isLow(unit));
    }

    bool Unit(unsigned& unit) {
        unit = 0;
        for (int n = 0; n < 4; ++n, ++m_at) {
            const char c = m_at < m_json.size() ? m_json[m_at] : '\0';
            const char lower = static_cast<char>(c | 0x20);
            if (IsDigit(c)) {
                unit = unit * 16 + static_cast<unsigned>(c - '0');
            } else if (lower >= 'a' && lower <= 'f') {
                unit = unit * 16 + static_cast<unsigned>(lower - 'a') + 10;
            } else {
                return false;
            }
        }
        return true;
    }

    void SkipSpace() {
        while (At(' ') || At('\n') || At('\r') || At('\t')) {
            ++m_at;
        }
    }

    bool At(char c) const { return m_at < m_json.size() && m_json[m_at] == c; }

    bool Take(char c) {
        const bool isThere = At(c);
        m_at += isThere ? 1 : 0;
        return isThere;
    }

    const std::string_view m_json;
    const std::span<const std::string_view> m_keys;
    std::vector<std::string_view> m_found;
    std::size_t m_at = 0;
    std::size_t m_wanted = kNone;  // the key that the next value belongs to
    std::size_t m_depth = 0;
    std::array<Frame, Tree::kDeepestNesting> m_frames;
};

}  // namespace

bool ReadTextsOfJson(std::string_view json, std::span<const std::string_view> keys,
                     std::span<std::string> texts) {
    std::ranges::fill(texts, std::string());
    Walk walk(json, keys);
    if (!walk.Document()) {
        return false;
    }
    std::ranges::transform(walk.Found(), texts.begin(), Unescaped);
    return true;
}

}  // namespace CoreServices
