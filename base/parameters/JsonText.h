#pragma once

#include <cstddef>
#include <string_view>

namespace CoreServices::Tree {

// The characters of a JSON text, which is UTF-8.

/// The length of the run at the beginning of `text` that stands for itself inside a JSON text: ASCII other
/// than control characters, the quote and the backslash.
std::size_t PlainRunLength(std::string_view text) noexcept;

/// The same, and copies the run to `to`, where there must be room for all of `text`: what lies behind the
/// copied run is undefined afterwards.
std::size_t CopyPlainRun(std::string_view text, char* to) noexcept;

/// The length (1 to 4) of the well-formed UTF-8 sequence at the beginning of `text`, which is not empty.
/// 0 where there is none: stray, missing or overlong bytes, surrogates, beyond U+10FFFF.
std::size_t Utf8SequenceLength(std::string_view text) noexcept;

/// Writes the 1 to 4 bytes of a Unicode scalar value to `to`; the end of what was written.
char* WriteUtf8(char* to, char32_t codePoint) noexcept;

}  // namespace CoreServices::Tree
