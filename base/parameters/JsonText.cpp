#include "base/parameters/JsonText.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <bit>
#include <cstdint>
#include <cstring>

#include "base/parameters/ShortText.h"

namespace CoreServices::Tree {

namespace {

constexpr Word Repeat(unsigned char byte) noexcept {
    return byte * Word{0x0101010101010101U};
}

/// The top bit of each byte that is zero; above the first such byte other top bits may be set too.
constexpr Word ZeroBytes(Word word) noexcept {
    return (word - Repeat(1)) & ~word & Repeat(0x80);
}

/// The top bit of the first byte that is not plain; no bit if all eight are.
constexpr Word SpecialBytes(Word word) noexcept {
    const Word control = (word - Repeat(0x20)) & ~word;
    return ((control | word) & Repeat(0x80)) | ZeroBytes(word ^ Repeat('"')) | ZeroBytes(word ^ Repeat('\\'));
}

// The length of the plain run; with `copy`, it is copied before it is looked at, as the runs of an escaped
// text are too short to be worth a second pass.
template <bool copy>
std::size_t PlainRun(std::string_view text, char* to) noexcept {
    std::size_t length = 0;
#ifdef __SSE2__
    for (; text.size() - length >= sizeof(__m128i); length += sizeof(__m128i)) {
        __m128i block;
        std::memcpy(&block, text.data() + length, sizeof block);
        if constexpr (copy)
            std::memcpy(to + length, &block, sizeof block);
        // As signed bytes, what is not ASCII is negative and so below the space too.
        const __m128i special = _mm_or_si128(_mm_cmplt_epi8(block, _mm_set1_epi8(' ')),
                                             _mm_or_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8('"')),
                                                          _mm_cmpeq_epi8(block, _mm_set1_epi8('\\'))));
        if (const auto mask = static_cast<unsigned>(_mm_movemask_epi8(special)); mask != 0)
            return length + static_cast<std::size_t>(std::countr_zero(mask));
    }
#endif
    for (; text.size() - length >= sizeof(Word); length += sizeof(Word)) {
        const Word word = LoadPart<Word>(text.data() + length);
        if constexpr (copy)
            std::memcpy(to + length, &word, sizeof word);
        if (const Word special = SpecialBytes(word); special != 0)
            return length + static_cast<std::size_t>(std::countr_zero(special)) / 8;
    }
    // The zeros behind the end are no plain characters.
    const Word word = LoadShort(text.substr(length));
    if constexpr (copy)
        StoreShort(word, text.size() - length, to + length);
    return length + static_cast<std::size_t>(std::countr_zero(SpecialBytes(word))) / 8;
}

}  // namespace

std::size_t PlainRunLength(std::string_view text) noexcept {
    return PlainRun<false>(text, nullptr);
}

std::size_t CopyPlainRun(std::string_view text, char* to) noexcept {
    return PlainRun<true>(text, to);
}

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

char* WriteUtf8(char* to, char32_t codePoint) noexcept {
    const auto write = [&to](char32_t byte) { *to++ = static_cast<char>(byte); };
    const auto writeContinuation = [&](unsigned shift) { write(0x80U | ((codePoint >> shift) & 0x3FU)); };
    if (codePoint < 0x80) {
        write(codePoint);
    } else if (codePoint < 0x800) {
        write(0xC0U | (codePoint >> 6));
        writeContinuation(0);
    } else if (codePoint < 0x10000) {
        write(0xE0U | (codePoint >> 12));
        writeContinuation(6);
        writeContinuation(0);
    } else {
        write(0xF0U | (codePoint >> 18));
        writeContinuation(12);
        writeContinuation(6);
        writeContinuation(0);
    }
    return to;
}

}  // namespace CoreServices::Tree
