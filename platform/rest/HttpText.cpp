#include "platform/rest/HttpText.h"

#include <algorithm>
#include <cstddef>

#include "base/parameters/JsonText.h"

namespace PlatformAbstraction::Rest {

namespace {

constexpr bool IsLetter(char character) noexcept {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

constexpr bool IsDigit(char character) noexcept {
    return character >= '0' && character <= '9';
}

constexpr char Lower(char character) noexcept {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

constexpr bool IsBlank(char character) noexcept {
    return character == ' ' || character == '\t';
}

}  // namespace

bool IsTokenCharacter(char character) noexcept {
    static constexpr std::string_view kOthers = "!#$%&'*+-.^_`|~";
    return IsLetter(character) || IsDigit(character) || kOthers.find(character) != std::string_view::npos;
}

bool IsToken(std::string_view text) noexcept {
    return !text.empty() && std::all_of(text.begin(), text.end(), IsTokenCharacter);
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
