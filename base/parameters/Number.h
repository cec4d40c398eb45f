#pragma once

#include <cstdint>
#include <string_view>

#include "base/parameters/Value.h"

namespace CoreServices::Tree {

// The numbers of JSON, by their tokens.

/// Integer or Double.
Kind KindOfNumber(std::string_view token) noexcept;

/// Of an Integer.
std::int32_t ReadInteger(std::string_view token) noexcept;

/// Infinite where the token is too large for a double.
double ReadDouble(std::string_view token) noexcept;

}  // namespace CoreServices::Tree
