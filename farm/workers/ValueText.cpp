#include "farm/workers/ValueText.h"

#include <cctype>
#include <cstddef>
#include <utility>

namespace Quillon::Farm {

using CoreServices::Parameters;

namespace {

constexpr std::size_t kGuidDigits = 32;
constexpr std::string_view kHexPrefix = "0x";

/// The digits of a GUID, in lower case; nothing for any other text.
std::optional<std::string> GuidDigits(std::string_view text) {
    std::string digits;
    bool startsGroup = true;
    for (std::size_t n = 0; n < text.size(); ++n) {
        const auto character = static_cast<unsigned char>(text[n]);
        if (character == '-' || character == '{' || character == '}') {
            startsGroup = true;
        } else if (startsGroup && text.substr(n, kHexPrefix.size()) == kHexPrefix) {
            startsGroup = false;
            ++n;
        } else if (std::isxdigit(character) != 0) {
            startsGroup = false;
            digits.push_back(static_cast<char>(std::tolower(character)));
        } else {
            return std::nullopt;
        }
    }
    return digits.size() == kGuidDigits ? std::optional(std::move(digits)) : std::nullopt;
}

/// Of a value that is no text.
std::string JsonText(const Parameters& tree, std::string_view key) {
    constexpr std::string_view kBefore = R"({"v":)";
    Parameters alone;
    alone.CopyValue(tree, key, "v");
    const std::string json = alone.toJSON();
    return json.substr(kBefore.size(), json.size() - kBefore.size() - 1);
}

}  // namespace

std::optional<std::string> ValueText(const Parameters& tree, std::string_view key) {
    if (!tree.HasParameter(key)) {
        return std::nullopt;
    }
    std::string text;
    if (!tree.GetParameter(key, text)) {
        std::string json = JsonText(tree, key);
        return json == "null" ? std::nullopt : std::optional(std::move(json));
    }
    return GuidDigits(text).value_or(text);
}

}  // namespace Quillon::Farm
