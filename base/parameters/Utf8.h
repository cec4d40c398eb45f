#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace CoreServices::Tree {

/// The length (1 to 4) of the well-formed UTF-8 sequence at the beginning of `text`, which is not empty.
/// 0 where there is none: stray, missing or overlong bytes, surrogates, beyond U+10FFFF.
std::size_t Utf8SequenceLength(std::string_view text) noexcept;

/// `codePoint` is a Unicode scalar value.
void AppendUtf8(std::string& out, char32_t codePoint);

}  // namespace CoreServices::Tree
