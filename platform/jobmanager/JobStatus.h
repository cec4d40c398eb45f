#pragma once

#include <cstdint>
#include <string_view>

namespace CommonServices {

/// How far a job is, as far as it matters to whoever administers jobs.
enum class JobStatus : std::int32_t {
    Unknown = 0,
    InProgress = 1,
    Completed = 2,
    Failed = 3,
    Suspended = 4,
    Canceled = 5,
};

/// The status that a text stands for: the name of a status, or the state of a job, where those of a job at
/// work all are `InProgress`. Every other text, also one in another letter case, is `Unknown`.
JobStatus StrToJobStatus(std::string_view text);

}  // namespace CommonServices
