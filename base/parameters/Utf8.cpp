#include "base/parameters/Utf8.h"

namespace CoreServices::Tree {

namespace {

bool IsContinuation(unsigned char byte) noexcept {
    return (byte & 0xC0U) == 0x80U;
}

/// The second byte carries all further limits: overlong forms, surrogates, U+10FFFF.
bool IsSecondByte(unsigned char lead, unsigned char second) noexcept {
    switch (lead) {
        case 0xE0:
            return second >= 0xA0 && second <= 0xBF;
        case 0xED:
            return second >= 0x80 && second <= 0x9F;
        case 0xF0:
            return second >= 0x90 && second <= 0xBF;
        case 0xF4:
            return second >= 0x80 && second <= 0x8F;
        default:
            return IsContinuation(second);
    }
}

std::size_t LengthByLead(unsigned char lead) noexcept {
    if (lead < 0x80)
        return 1;
    if (lead < 0xC2 || lead > 0xF4)
        return 0;
    if (lead < 0xE0)
        return 2;
    return lead < 0xF0 ? 3 : 4;
}

}  // namespace

std::size_t Utf8SequenceLength(std::string_view text) noexcept {
    const auto byteAt = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const std::size_t length = LengthByLead(byteAt(0));
    if (length < 2)
        return length;
    if (text.size() < length || !IsSecondByte(byteAt(0), byteAt(1)))
        return 0;
    for (std::size_t i = 2; i < length; ++i)
        if (!IsContinuation(byteAt(i)))
            return 0;
    return length;
}

void AppendUtf8(std::string& out, char32_t codePoint) {
    const auto append = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    const auto appendContinuation = [&](unsigned shift) { append(0x80U | ((codePoint >> shift) & 0x3FU)); };
    if (codePoint < 0x80) {
        append(codePoint);
    } else if (codePoint < 0x800) {
        append(0xC0U | (codePoint >> 6));
        appendContinuation(0);
    } else if (codePoint < 0x10000) {
        append(0xE0U | (codePoint >> 12));
        appendContinuation(6);
        appendContinuation(0);
    } else {
        append(0xF0U | (codePoint >> 18));
        appendContinuation(12);
        appendContinuation(6);
        appendContinuation(0);
    }
}

}  // namespace CoreServices::Tree
