#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Weftline::Services::Scheduler {

/// Ticks of 100 ns since 1970 of a text such as "2024-05-06T07:08:09", read in the local time zone. Whatever
/// follows the seconds is ignored. Any thread may call.

/// Nothing for a text of another form, or one that names no day of the calendar.
std::optional<std::int64_t> TryParseDateTime(const std::string& text);
/// Throws `std::runtime_error` that quotes the text in a printable and shortened form where
/// `TryParseDateTime` gives nothing.
std::int64_t ParseDateTime(const std::string& text);

}  // namespace Weftline::Services::Scheduler
