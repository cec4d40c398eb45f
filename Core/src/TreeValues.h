#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/parameters/Parameters.h"

namespace Weftline {

// Values that a tree must have. Each throws `std::runtime_error` with "Failed to extract: " and the key where
// the key is missing or holds a value of another type.
std::string GetRequiredString(const CoreServices::Parameters& tree, std::string_view key);
std::int32_t GetRequiredInt(const CoreServices::Parameters& tree, std::string_view key);
bool GetRequiredBool(const CoreServices::Parameters& tree, std::string_view key);

// Values that a tree may lack: one that is missing or of another type reads as blank.
std::string TextOrEmpty(const CoreServices::Parameters& tree, std::string_view key);
bool FlagOrFalse(const CoreServices::Parameters& tree, std::string_view key);

}  // namespace Weftline
