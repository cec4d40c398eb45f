#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <tuple>

#include "Core/src/SubmitOperations.h"

namespace Quillon::Farm {

/// How far the farm is with a job: a media job is evaluated first, every other job is one task.
enum class Stage { Evaluation, Work };

/// Of the jobs of that operation, what comes next for one in that state.
Stage NextStage(const Weftline::SubmitOperations::Row& operation, std::string_view jobState);

/// One task of a job.
struct TaskStep {
    std::string_view service;   ///< of the workers who can do it
    std::string_view taskKind;  ///< as these workers know it
};

/// On which machine a job wants to be worked on; empty texts are no wish.
struct MachineWishes {
    std::string required;
    std::string excluded;
    bool operator<(const MachineWishes& other) const {
        return std::tie(required, excluded) < std::tie(other.required, other.excluded);
    }
};

/// Stands behind every offset of the log: "there is none".
inline constexpr std::int64_t kNoOffset = std::numeric_limits<std::int64_t>::max();

/// A job that waits for its next task, or is at it: what is needed to choose a worker, and nothing else. The
/// rest is read from the job's record. A value.
struct JobTicket {
    std::string jobId;
    std::int64_t offset =
        0;  ///< of the event that announced it, which no other has; tells the order of arrival
    const Weftline::SubmitOperations::Row* operation = nullptr;
    Stage stage = Stage::Work;
    std::int32_t priority = 0;  ///< the highest is the most urgent
    std::string queue;
    MachineWishes wishes;

    TaskStep Step() const;
};

}  // namespace Quillon::Farm
