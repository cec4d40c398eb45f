#pragma once

#include <cstdint>
#include <limits>

namespace Weftline::Services::Scheduler {

/// The limit of a question to the store that is meant to have none.
inline constexpr std::int32_t kAllRecords = std::numeric_limits<std::int32_t>::max();

}  // namespace Weftline::Services::Scheduler
