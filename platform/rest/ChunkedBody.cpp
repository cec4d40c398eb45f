#include "platform/rest/ChunkedBody.h"

#include <algorithm>

#include "platform/rest/HttpText.h"

namespace PlatformAbstraction::Rest {

namespace {

constexpr std::size_t kMostSizeDigits = 8;

std::string_view CutWhile(std::string_view& text, bool (*isPart)(char) noexcept) {
    const auto* const end = std::find_if_not(text.begin(), text.end(), isPart);
    const auto front = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    text.remove_prefix(front.size());
    return front;
}

bool Cut(std::string_view& text, char expected) {
    const bool isThere = text.starts_with(expected);
    text.remove_prefix(isThere ? 1 : 0);
    return isThere;
}

void SkipBlanks(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
}

// A text in double quotes, in which a backslash stands before a character that is meant as it is.
bool CutQuoted(std::string_view& text) {
    if (!Cut(text, '"')) {
        return false;
    }
    while (!text.empty() && text.front() != '"') {
        text.remove_prefix(text.front() == '\\' ? std::min<std::size_t>(2, text.size()) : 1);
    }
    return Cut(text, '"');
}

// `;name`, `;name=token` or `;name="text"`, any number of them, with blanks around the signs. Control
// characters have been looked for in the whole line.
bool AreExtensions(std::string_view text) {
    while (!text.empty()) {
        SkipBlanks(text);
        if (!Cut(text, ';')) {
            return false;
        }
        SkipBlanks(text);
        if (CutWhile(text, IsTokenCharacter).empty()) {
            return false;
        }
        std::string_view value = text;
        SkipBlanks(value);
        if (Cut(value, '=')) {
            SkipBlanks(value);
            if (CutWhile(value, IsTokenCharacter).empty() && !CutQuoted(value)) {
                return false;
            }
            text = value;
        }
    }
    return true;
}

}  // namespace

ChunkedBody::Progress ChunkedBody::Read(std::string_view& input, std::string& body) {
    Progress progress = Progress::Incomplete;
    while (!input.empty() && progress == Progress::Incomplete) {
        if (m_part == Part::Data) {
            ReadData(input, body);
        } else {
            progress = ReadLine(input, body.size());
        }
    }
    return progress;
}

void ChunkedBody::ReadData(std::string_view& input, std::string& body) {
    const auto taken = static_cast<std::size_t>(std::min<std::uint64_t>(m_chunkLeft, input.size()));
    body.append(input.substr(0, taken));
    input.remove_prefix(taken);
    m_chunkLeft -= taken;
    if (m_chunkLeft == 0) {
        m_part = Part::DataEnd;
    }
}

ChunkedBody::Progress ChunkedBody::ReadLine(std::string_view& input, std::size_t bodySize) {
    const std::size_t feed = std::min(input.find('\n'), input.size());
    const bool isWhole = feed < input.size();
    m_line.append(input.substr(0, feed));
    input.remove_prefix(isWhole ? feed + 1 : feed);
    std::string_view line = m_line;
    const bool hasReturn = line.ends_with('\r');
    line.remove_suffix(hasReturn ? 1 : 0);
    const std::size_t most =
        kMostExtraBytes - m_extraBytes + (m_part == Part::SizeLine ? kMostSizeDigits : 0);
    // What can become no line is refused at once, so that nobody waits for the rest of it.
    if ((isWhole && !hasReturn) || !IsText(line) || (m_part == Part::DataEnd && !line.empty()) ||
        line.size() > most) {
        return Progress::Malformed;
    }
    if (!isWhole) {
        return Progress::Incomplete;
    }
    const Progress progress = TakeLine(line, bodySize);
    m_line.clear();
    return progress;
}

ChunkedBody::Progress ChunkedBody::TakeLine(std::string_view line, std::size_t bodySize) {
    if (m_part == Part::SizeLine) {
        return TakeSizeLine(line, bodySize);
    }
    if (m_part == Part::Trailer) {
        return TakeTrailerLine(line);
    }
    m_part = Part::SizeLine;
    return Progress::Incomplete;
}

ChunkedBody::Progress ChunkedBody::TakeSizeLine(std::string_view line, std::size_t bodySize) {
    const auto isHexDigit = [](char character) noexcept { return HexDigitValue(character) >= 0; };
    const std::string_view digits = CutWhile(line, isHexDigit);
    m_extraBytes += line.size();
    if (digits.empty() || digits.size() > kMostSizeDigits || m_extraBytes > kMostExtraBytes ||
        !AreExtensions(line)) {
        return Progress::Malformed;
    }
    for (const char digit : digits) {
        m_chunkLeft = m_chunkLeft * 16 + static_cast<unsigned>(HexDigitValue(digit));
    }
    if (m_chunkLeft > m_maxBodyBytes - bodySize) {  // the body never outgrows the limit
        return Progress::TooLarge;
    }
    m_part = m_chunkLeft == 0 ? Part::Trailer : Part::Data;
    return Progress::Incomplete;
}

ChunkedBody::Progress ChunkedBody::TakeTrailerLine(std::string_view line) {
    if (line.empty()) {
        return Progress::Complete;
    }
    m_extraBytes += line.size();
    return ReadFieldLine(line) ? Progress::Incomplete : Progress::Malformed;
}

}  // namespace PlatformAbstraction::Rest
