#include "JsonPlain.h"

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

}  // namespace

std::size_t PlainRunLength(std::string_view text) noexcept {
    std::size_t length = 0;
    // Eight at a time: on the other byte order the first byte in memory is not the lowest one of the word.
    if constexpr (std::endian::native == std::endian::little) {
        for (; text.size() - length >= sizeof(Word); length += sizeof(Word)) {
            Word word = 0;
            std::memcpy(&word, text.data() + length, sizeof word);
            if (const Word special = SpecialBytes(word); special != 0)
                return length + static_cast<std::size_t>(std::countr_zero(special)) / 8;
        }
    }
    while (length < text.size() && IsPlain(text[length]))
        ++length;
    return length;
}

}  // namespace CoreServices::Tree
