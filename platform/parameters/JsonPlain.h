#pragma once

#include <cstddef>
#include <string_view>

namespace CoreServices::Tree {

/// The length of the run at the beginning of `text` that stands for itself inside a JSON text: ASCII other
/// than control characters, the quote and the backslash.
std::size_t PlainRunLength(std::string_view text) noexcept;

}  // namespace CoreServices::Tree
