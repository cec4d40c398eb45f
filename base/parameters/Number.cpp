#include "base/parameters/Number.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <system_error>

namespace CoreServices::Tree {

namespace {

/// True for a token whose value lies above one, for tokens that no double can hold: those are far above or
/// far below.
bool IsLarge(std::string_view token) noexcept {
    token.remove_prefix(token.front() == '-' ? 1 : 0);
    const std::size_t mantissaEnd = std::min(token.find_first_of("eE"), token.size());
    const std::string_view mantissa = token.substr(0, mantissaEnd);
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    const std::size_t leading = mantissa.find_first_of("123456789");
    // The power of ten of the leading digit, as the mantissa alone has it.
    const auto power =
        static_cast<std::int64_t>(point) - static_cast<std::int64_t>(leading) - (leading < point ? 1 : 0);
    std::string_view exponentText = token.substr(std::min(mantissaEnd + 1, token.size()));
    if (exponentText.starts_with('+'))
        exponentText.remove_prefix(1);
    std::int64_t exponent = 0;
    const auto result =
        std::from_chars(exponentText.data(), exponentText.data() + exponentText.size(), exponent);
    if (result.ec == std::errc::result_out_of_range)
        return !exponentText.starts_with('-');
    return power > -exponent;
}

}  // namespace

Kind KindOfNumber(std::string_view token) noexcept {
    std::int32_t integer = 0;
    const char* pEnd = token.data() + token.size();
    const auto [pStop, error] = std::from_chars(token.data(), pEnd, integer);
    return error == std::errc() && pStop == pEnd ? Kind::Integer : Kind::Double;
}

std::int32_t ReadInteger(std::string_view token) noexcept {
    std::int32_t value = 0;
    std::from_chars(token.data(), token.data() + token.size(), value);
    return value;
}

double ReadDouble(std::string_view token) noexcept {
    double value = 0;
    const auto result = std::from_chars(token.data(), token.data() + token.size(), value);
    if (result.ec == std::errc::result_out_of_range)
        value = std::copysign(IsLarge(token) ? HUGE_VAL : 0.0, token.front() == '-' ? -1.0 : 1.0);
    return value;
}

}  // namespace CoreServices::Tree
