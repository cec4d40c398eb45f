#pragma once

#include <cstdint>
#include <string>

#include "farm/coordinator/TaskPlan.h"

namespace Quillon::Farm {

/// A job that waits for its next task, or is at it: what is needed to choose a worker, and nothing else,
/// since many of them are in memory. The rest is read from the job's record. A value.
struct JobTicket {
    std::string jobId;
    std::int64_t offset = 0;  ///< of the event that announced it; it tells the order of arrival
    const TaskPlan* plan = nullptr;
    Stage stage = Stage::Work;
    std::int32_t priority = 0;
    std::string queue;
    std::string createdBy;
    std::string requiredMachine;
    std::string excludedMachine;

    const TaskStep& Step() const { return plan->StepOf(stage); }
};

}  // namespace Quillon::Farm
