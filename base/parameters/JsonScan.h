#pragma once

#include <cstddef>
#include <string_view>

namespace CoreServices::Tree {

inline constexpr std::size_t kDeepestNesting = 512;

/// What a JSON text can hold at most, counted by its punctuation alone: what lies inside of texts in double
/// quotes is no punctuation. Holds for texts that are no JSON too, up to the place where a reader fails: the
/// rest only adds. Reading is decided elsewhere; this looks at each byte once and takes no memory.
struct JsonScan {
    std::size_t containers = 0;  // objects and arrays, but for those that are closed at once
    std::size_t members = 0;     // of all objects, repeated keys too
    std::size_t values = 0;      // elements, and members with a key and a value each
    std::size_t texts = 0;       // keys and texts
    std::size_t textBytes = 0;   // between the quotes of these, escapes as they stand
    std::size_t tokenBytes = 0;  // of numbers, true, false and null
};

JsonScan ScanJson(std::string_view text) noexcept;

}  // namespace CoreServices::Tree
