#pragma once

#include <chrono>
#include <string>

namespace Weftline {

/// The point in UTC as "2024-05-06T07:08:09.000123": cut to microseconds, with a fraction of six digits where
/// it is not zero and none otherwise, and no zone suffix.
std::string ExtendedIsoUtc(std::chrono::system_clock::time_point point);

}  // namespace Weftline
