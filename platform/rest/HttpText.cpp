#include "platform/rest/HttpText.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "base/parameters/JsonText.h"

namespace PlatformAbstraction::Rest {

namespace {

constexpr bool IsDigit(char character) noexcept {
    return character >= '0' && character <= '9';
}

constexpr char Lower(char character) noexcept {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

constexpr bool IsBlank(char character) noexcept {
    return character == ' ' || character == '\t';
}

// By the character's code.
constexpr auto kTokenCharacters = [] {
    std::array<bool, 256> table{};
    for (char upper = 'A'; upper <= 'Z'; ++upper) {
        table[static_cast<unsigned char>(upper)] = table[static_cast<unsigned char>(Lower(upper))] = true;
    }
    for (const char other : std::string_view("0123456789!#$%&'*+-.^_`|~")) {
        table[static_cast<unsigned char>(other)] = true;
    }
    return table;
}();

}  // namespace

bool IsTokenCharacter(char character) noexcept {
    return kTokenCharacters[static_cast<unsigned char>(character)];
}

bool IsToken(std::string_view text) noexcept {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char character) { return IsTokenCharacter(character); });
}

bool IsText(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(), [](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return byte == '\t' || (byte >= ' ' && byte != 0x7f);
    });
}

bool IsDigits(std::string_view text) noexcept {
    return !text.empty() && std::all_of(text.begin(), text.end(), IsDigit);
}

int HexDigitValue(char character) noexcept {
    if (IsDigit(character)) {
        return character - '0';
    }
    const char lower = Lower(character);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool EqualsIgnoringCase(std::string_view left, std::string_view right) noexcept {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char one, char other) { return Lower(one) == Lower(other); });
}

std::string_view Trimmed(std::string_view text) noexcept {
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

std::optional<FieldLine> ReadFieldLine(std::string_view line) noexcept {
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view value = line.substr(colon + 1);
    if (!IsToken(line.substr(0, colon)) || !IsText(value)) {
        return std::nullopt;
    }
    return FieldLine{line.substr(0, colon), Trimmed(value)};
}

bool IsValidUtf8(std::string_view text) noexcept {
    while (!text.empty()) {
        const std::size_t length = CoreServices::Tree::Utf8SequenceLength(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

}  // namespace PlatformAbstraction::Rest
