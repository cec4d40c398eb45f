#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace CoreServices::Tree {

// Texts of up to eight bytes as a word, the first byte lowest: two copies of a fixed size, which may overlap,
// are faster than one of any size.

using Word = std::uint64_t;
static_assert(std::endian::native == std::endian::little);

template <class Part>
Word LoadPart(const char* from) noexcept {
    Part part;
    std::memcpy(&part, from, sizeof part);
    return part;
}

/// Zeros follow a shorter text.
inline Word LoadShort(std::string_view text) noexcept {
    const auto loadEnds = [text]<class Part>(Part) {
        const std::size_t last = text.size() - sizeof(Part);
        return LoadPart<Part>(text.data()) | LoadPart<Part>(text.data() + last) << last * 8;
    };
    if (text.size() >= sizeof(std::uint64_t))
        return LoadPart<std::uint64_t>(text.data());
    if (text.size() >= sizeof(std::uint32_t))
        return loadEnds(std::uint32_t{});
    if (text.size() >= sizeof(std::uint16_t))
        return loadEnds(std::uint16_t{});
    return text.empty() ? 0 : LoadPart<std::uint8_t>(text.data());
}

/// The first `size` bytes of the word, below eight.
inline void StoreShort(Word word, std::size_t size, char* to) noexcept {
    const auto storeEnds = [=]<class Part>(Part) {
        const std::size_t last = size - sizeof(Part);
        const auto first = static_cast<Part>(word);
        const auto second = static_cast<Part>(word >> last * 8);
        std::memcpy(to, &first, sizeof first);
        std::memcpy(to + last, &second, sizeof second);
    };
    if (size >= sizeof(std::uint32_t))
        storeEnds(std::uint32_t{});
    else if (size >= sizeof(std::uint16_t))
        storeEnds(std::uint16_t{});
    else if (size != 0)
        *to = static_cast<char>(word);
}

}  // namespace CoreServices::Tree
