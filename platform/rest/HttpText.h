#pragma once

#include <optional>
#include <string_view>

namespace PlatformAbstraction::Rest {

// The lexical rules of HTTP that several places share. Nothing here allocates or throws.

/// A character of a method or of a header's name.
bool IsTokenCharacter(char character) noexcept;
bool IsToken(std::string_view text) noexcept;
/// May it stand in a header's value? No control character but the tab does.
bool IsText(std::string_view text) noexcept;
bool IsDigits(std::string_view text) noexcept;
/// The value of a hexadecimal digit, or -1.
int HexDigitValue(char character) noexcept;
/// For ASCII alone, whatever the locale.
bool EqualsIgnoringCase(std::string_view left, std::string_view right) noexcept;
/// Without the blanks and tabs around it.
std::string_view Trimmed(std::string_view text) noexcept;

/// One line of a head or a trailer, its value without the blanks around it.
struct FieldLine {
    std::string_view name;
    std::string_view value;
};
/// `line` is without its end. Empty unless a name stands right before a colon: a folded line, which begins
/// with a blank, is none.
std::optional<FieldLine> ReadFieldLine(std::string_view line) noexcept;

bool IsValidUtf8(std::string_view text) noexcept;

}  // namespace PlatformAbstraction::Rest
