#pragma once

#include <span>
#include <string>
#include <string_view>

namespace CoreServices {

/// Reads a JSON document as strictly as `Parameters::fromJSON`, but makes no tree of it and keeps nothing but
/// the texts under top-level keys that are asked for. For those who look at many documents and need little of
/// each.
///
/// `texts` has a place for each of the `keys`, which becomes empty where the key is missing or holds no text.
/// False, and all of them empty, where `fromJSON` would throw.
[[nodiscard]] bool ReadTextsOfJson(std::string_view json, std::span<const std::string_view> keys,
                                   std::span<std::string> texts);

/// Whether `Parameters::fromJSON` takes the document.
[[nodiscard]] inline bool IsJson(std::string_view json) {
    return ReadTextsOfJson(json, {}, {});
}

}  // namespace CoreServices
