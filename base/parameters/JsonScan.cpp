#include "base/parameters/JsonScan.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <utility>

namespace CoreServices::Tree {

namespace {

// One bit for each byte of a block, the first byte in the lowest.
using Mask = std::uint64_t;
constexpr std::size_t kBlock = 64;

/// Where the characters of a block stand.
struct BlockMasks {
    Mask quotes = 0;
    Mask backslashes = 0;
    Mask commas = 0;
    Mask colons = 0;
    Mask openings = 0;
    Mask closings = 0;
    Mask letters = 0;  // above the space, with all of the other masks; none that is not ASCII
};

// Brackets and braces differ in this bit alone, and no other character becomes a brace by it.
constexpr char kBracketToBrace = 0x20;

#ifdef __SSE2__

Mask MaskOf(__m128i matches) noexcept {
    return static_cast<unsigned>(_mm_movemask_epi8(matches));
}

BlockMasks MasksOf(const char* pBlock) noexcept {
    BlockMasks masks;
    for (std::size_t at = 0; at < kBlock; at += sizeof(__m128i)) {
        __m128i bytes;
        std::memcpy(&bytes, pBlock + at, sizeof bytes);
        const __m128i braces = _mm_or_si128(bytes, _mm_set1_epi8(kBracketToBrace));
        masks.quotes |= MaskOf(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'))) << at;
        masks.backslashes |= MaskOf(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'))) << at;
        masks.commas |= MaskOf(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(','))) << at;
        masks.colons |= MaskOf(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(':'))) << at;
        masks.openings |= MaskOf(_mm_cmpeq_epi8(braces, _mm_set1_epi8('{'))) << at;
        masks.closings |= MaskOf(_mm_cmpeq_epi8(braces, _mm_set1_epi8('}'))) << at;
        masks.letters |= MaskOf(_mm_cmpgt_epi8(bytes, _mm_set1_epi8(' '))) << at;
    }
    return masks;
}

#else

BlockMasks MasksOf(const char* pBlock) noexcept {
    BlockMasks masks;
    for (std::size_t at = 0; at < kBlock; ++at) {
        const char c = pBlock[at];
        const auto brace = static_cast<char>(c | kBracketToBrace);
        masks.quotes |= Mask{c == '"'} << at;
        masks.backslashes |= Mask{c == '\\'} << at;
        masks.commas |= Mask{c == ','} << at;
        masks.colons |= Mask{c == ':'} << at;
        masks.openings |= Mask{brace == '{'} << at;
        masks.closings |= Mask{brace == '}'} << at;
        masks.letters |= Mask{static_cast<signed char>(c) > ' '} << at;
    }
    return masks;
}

#endif

/// Without the instruction for it, the compilers call a function for `std::popcount`.
std::size_t CountOf(Mask mask) noexcept {
    mask -= (mask >> 1U) & 0x5555555555555555U;
    mask = (mask & 0x3333333333333333U) + ((mask >> 2U) & 0x3333333333333333U);
    mask = (mask + (mask >> 4U)) & 0x0F0F0F0F0F0F0F0FU;
    return (mask * 0x0101010101010101U) >> 56U;
}

/// Each bit becomes the parity of itself and all below it.
Mask PrefixParity(Mask mask) noexcept {
    for (unsigned shift = 1; shift < kBlock; shift *= 2)
        mask ^= mask << shift;
    return mask;
}

class Scanner {
public:
    void Take(const char* pBlock) noexcept {
        const BlockMasks masks = MasksOf(pBlock);
        const Mask quotes = masks.quotes & ~EscapedOf(masks.backslashes);
        // From an opening quote to before the closing one.
        const Mask inText = PrefixParity(quotes) ^ m_inText;
        m_inText = Mask{0} - (inText >> (kBlock - 1));
        const Mask openings = masks.openings & ~inText;
        const Mask closings = masks.closings & ~inText;
        // Two that meet across blocks count as a container: there are not many.
        const Mask empty = closings & (openings << 1U);
        const Mask commas = masks.commas & ~inText;
        const Mask colons = masks.colons & ~inText;
        m_openings += CountOf(openings & ~(empty >> 1U));
        m_closings += CountOf(closings & ~empty);
        m_commas += CountOf(commas);
        m_scan.members += CountOf(colons);
        m_scan.texts += CountOf(inText & quotes);
        m_scan.textBytes += CountOf(inText & ~quotes);
        m_scan.tokenBytes +=
            CountOf(masks.letters & ~(inText | quotes | openings | closings | commas | colons));
    }

    JsonScan Result(std::size_t textSize) noexcept {
        // No reader comes further than the deepest nesting beyond what is closed again, nor does it take an
        // element of less than a character with a separator, or a member of less than two quotes more.
        constexpr std::size_t kLeastElement = 2;
        constexpr std::size_t kLeastMember = 5;
        m_scan.containers = std::min(m_openings, m_closings + kDeepestNesting);
        m_scan.members = std::min(m_scan.members, textSize / kLeastMember + 1);
        m_scan.values = std::min(m_commas + m_scan.containers + m_scan.members, textSize / kLeastElement + 2);
        return m_scan;
    }

private:
    /// The bytes behind an odd number of backslashes.
    Mask EscapedOf(Mask backslashes) noexcept {
        Mask escaped = std::exchange(m_escapesFirst, Mask{0});
        backslashes &= ~escaped;
        while (backslashes != 0) {
            const Mask first = backslashes & (~backslashes + 1);
            escaped |= first << 1U;
            m_escapesFirst = first >> (kBlock - 1);
            backslashes &= ~(first | (first << 1U));
        }
        return escaped;
    }

    JsonScan m_scan;
    std::size_t m_openings = 0;  // but for those that are closed at once
    std::size_t m_closings = 0;
    std::size_t m_commas = 0;
    Mask m_inText = 0;  // all bits where a text is open
    Mask m_escapesFirst = 0;
};

}  // namespace

JsonScan ScanJson(std::string_view text) noexcept {
    Scanner scanner;
    const std::size_t size = text.size();
    for (; text.size() >= kBlock; text.remove_prefix(kBlock))
        scanner.Take(text.data());
    if (!text.empty()) {
        std::array<char, kBlock> last;
        last.fill(' ');
        std::memcpy(last.data(), text.data(), text.size());
        scanner.Take(last.data());
    }
    return scanner.Result(size);
}

}  // namespace CoreServices::Tree
