#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/parameters/Parameters.h"

namespace Quillon::Farm {

/// The value under the key as a text that is equal for values that mean the same: 10 and "10", true and
/// "true", and the spellings of a GUID, whose case, hyphens, braces and "0x" do not count. Nothing where
/// there is no value, or null.
std::optional<std::string> ValueText(const CoreServices::Parameters& tree, std::string_view key);

}  // namespace Quillon::Farm
