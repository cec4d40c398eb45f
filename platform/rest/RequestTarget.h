#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/parameters/Parameters.h"

namespace PlatformAbstraction::Rest {

// What the target of a request says. Free of connections and servers; any input is safe.

enum class PlusSign { Itself, Blank };

/// Empty on an escape that is none, or where the result is no UTF-8.
std::optional<std::string> DecodePercent(std::string_view text, PlusSign plus);

/// The decoded segments of a path that begins with '/'. An escaped slash is part of its segment. Empty where
/// one cannot be decoded.
[[nodiscard]] std::optional<std::vector<std::string>> ReadPath(std::string_view path);

/// `name=value` pairs between ampersands, as a tree. A value that is a JSON number, true, false or null is
/// read as such; one in double quotes is the text inside them; any other is text, the empty one too. A
/// repeated name keeps the last value. Empty where something cannot be decoded or a pair has no name.
[[nodiscard]] std::optional<CoreServices::Parameters> ReadQuery(std::string_view query);

}  // namespace PlatformAbstraction::Rest
