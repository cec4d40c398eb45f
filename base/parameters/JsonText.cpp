#include "base/parameters/JsonText.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <bit>
#include <cstdint>
#include <cstring>

namespace CoreServices::Tree {

namespace {

using Word = std::uint64_t;

constexpr Word Repeat(unsigned char byte) noexcept {
    return byte * Word{0x0101010101010101U};
}

constexpr bool IsPlain(char c) noexcept {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x20 && byte < 0x80 && c != '"' && c != '\\';
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
    // Eight at a time: on the other byte order the first byte in memory is not the lowest one of the word.
    if constexpr (std::endian::native == std::endian::little) {
        for (; text.size() - length >= sizeof(Word); length += sizeof(Word)) {
            Word word = 0;
            std::memcpy(&word, text.data() + length, sizeof word);
            if constexpr (copy)
                std::memcpy(to + length, &word, sizeof word);
            if (const Word special = SpecialBytes(word); special != 0)
                return length + static_cast<std::size_t>(std::countr_zero(special)) / 8;
        }
    }
    for (; length < text.size() && IsPlain(text[length]); ++length) {
        if constexpr (copy)
            to[length] = text[length];
    }
    return length;
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
