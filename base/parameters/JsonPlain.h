#pragma once

#include <cstddef>
#include <string_view>

namespace CoreServices::Tree {

/// The length of the run at the beginning of `text` that stands for itself inside a JSON text: ASCII other
/// than control characters, the quote and the backslash.
std::size_t PlainRunLength(std::string_view text) noexcept;

/// The same, and copies the run to `to`, where there must be room for all of `text`: what lies behind the
/// copied run is undefined afterwards.
std::size_t CopyPlainRun(std::string_view text, char* to) noexcept;

}  // namespace CoreServices::Tree
