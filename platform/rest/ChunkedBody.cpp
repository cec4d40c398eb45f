#include "platform/rest/ChunkedBody.h"

#include <algorithm>

#include "platform/rest/HttpText.h"

namespace PlatformAbstraction::Rest {

namespace {

constexpr std::size_t kMostSizeDigits = 8;

bool IsLineCharacter(char byte) {
    return byte == '\t' || (static_cast<unsigned char>(byte) >= ' ' && byte != 0x7f);
}

}  // namespace

ChunkedBody::Progress ChunkedBody::Read(std::string_view& input, std::string& body) {
    while (!input.empty()) {
        if (m_state == State::Data) {
            const auto taken = static_cast<std::size_t>(std::min<std::uint64_t>(m_chunkLeft, input.size()));
            body.append(input.substr(0, taken));
            input.remove_prefix(taken);
            m_chunkLeft -= taken;
            if (m_chunkLeft == 0) {
                m_state = State::DataReturn;
            }
            continue;
        }
        const Progress progress = ReadByte(input.front(), body.size());
        input.remove_prefix(1);
        if (progress != Progress::Incomplete) {
            return progress;
        }
    }
    return Progress::Incomplete;
}

ChunkedBody::Progress ChunkedBody::ReadByte(char byte, std::size_t bodySize) {
    switch (m_state) {
        case State::Size:
            return ReadSizeByte(byte, bodySize);
        case State::Extension:
            if (byte == '\r') {
                m_state = State::SizeLineFeed;
                return Progress::Incomplete;
            }
            return CountExtra(byte);
        case State::SizeLineFeed:
            return Expect(byte, '\n', m_chunkLeft == 0 ? State::TrailerStart : State::Data);
        case State::DataReturn:
            return Expect(byte, '\r', State::DataLineFeed);
        case State::DataLineFeed:
            m_sizeDigits = 0;
            return Expect(byte, '\n', State::Size);
        case State::TrailerStart:
            if (byte == '\r') {
                m_state = State::LastLineFeed;
                return Progress::Incomplete;
            }
            m_state = State::Trailer;
            return IsTokenCharacter(byte) ? CountExtra(byte) : Progress::Malformed;
        case State::Trailer:
            if (byte == '\r') {
                m_state = State::TrailerLineFeed;
                return Progress::Incomplete;
            }
            return CountExtra(byte);
        case State::TrailerLineFeed:
            return Expect(byte, '\n', State::TrailerStart);
        case State::LastLineFeed:
            return Expect(byte, '\n', State::Done) == Progress::Malformed ? Progress::Malformed
                                                                          : Progress::Complete;
        case State::Data:
        case State::Done:
            break;
    }
    return Progress::Malformed;
}

ChunkedBody::Progress ChunkedBody::ReadSizeByte(char byte, std::size_t bodySize) {
    if (const int digit = HexDigitValue(byte); digit >= 0) {
        m_chunkLeft = m_sizeDigits == 0 ? 0 : m_chunkLeft * 16;
        m_chunkLeft += static_cast<unsigned>(digit);
        return ++m_sizeDigits > kMostSizeDigits ? Progress::Malformed : Progress::Incomplete;
    }
    if (m_sizeDigits == 0) {
        return Progress::Malformed;
    }
    if (m_chunkLeft > m_maxBodyBytes - bodySize) {  // the body never outgrows the limit
        return Progress::TooLarge;
    }
    if (byte == '\r') {
        m_state = State::SizeLineFeed;
        return Progress::Incomplete;
    }
    m_state = State::Extension;
    return byte == ';' ? CountExtra(byte) : Progress::Malformed;
}

ChunkedBody::Progress ChunkedBody::Expect(char byte, char expected, State next) {
    m_state = next;
    return byte == expected ? Progress::Incomplete : Progress::Malformed;
}

ChunkedBody::Progress ChunkedBody::CountExtra(char byte) {
    return !IsLineCharacter(byte) || ++m_extraBytes > kMostExtraBytes ? Progress::Malformed
                                                                      : Progress::Incomplete;
}

}  // namespace PlatformAbstraction::Rest
