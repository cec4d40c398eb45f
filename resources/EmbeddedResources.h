#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace Weftline::Resources {

/// The type under which the JSON documents are filed.
inline constexpr std::string_view kJsonFileType = "RT_JSON_FILE";
/// The language in which all documents are written: American English.
inline constexpr std::uint16_t kLanguage = 1033;

/// One document carried in the program. The views live as long as the program.
struct EmbeddedResource {
    std::string_view name;
    std::string_view type;
    std::uint16_t language;
    std::string_view bytes;
};

/// All of them, ordered by name. The build makes the table from the files of this folder.
std::span<const EmbeddedResource> EmbeddedResources() noexcept;

}  // namespace Weftline::Resources
