#pragma once

#include <string_view>

namespace PlatformAbstraction::Rest {

// The lexical rules of HTTP that several places share. Nothing here allocates or throws.

/// A character of a method or of a header's name.
bool IsTokenCharacter(char character) noexcept;
bool IsToken(std::string_view text) noexcept;
bool IsDigits(std::string_view text) noexcept;
/// The value of a hexadecimal digit, or -1.
int HexDigitValue(char character) noexcept;
/// For ASCII alone, whatever the locale.
bool EqualsIgnoringCase(std::string_view left, std::string_view right) noexcept;
/// Without the blanks and tabs around it.
std::string_view Trimmed(std::string_view text) noexcept;
bool IsValidUtf8(std::string_view text) noexcept;

}  // namespace PlatformAbstraction::Rest
