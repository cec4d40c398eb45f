#pragma once

#include <cstdint>
#include <string>

#include "base/parameters/Parameters.h"

namespace CommonServices {

/// What the job manager tells of one job. A value. Its form on the bus is in JobManagerMessages.h.
struct JobInfo {
    std::string jobId;
    std::string clientKey;
    std::string kind;
    std::string creationDateTime;
    std::string completedDateTime;
    std::string createdBy;
    std::string name;
    std::string status;
    std::int32_t priority = 0;
    std::int32_t progress = 0;         ///< percent
    CoreServices::Parameters info;     ///< for people
    CoreServices::Parameters details;  ///< for programs: `SubTaskJobIDs`, `moreSubTasks`
};

/// The job as a tree, with every key. For whoever answers in the job manager's place.
CoreServices::Parameters WriteJobInfo(const JobInfo& job);

/// Throws `std::runtime_error` where the id is missing, empty or no text. Every other value that is missing,
/// null or of another type reads as blank.
JobInfo ReadJobInfo(const CoreServices::Parameters& tree);

}  // namespace CommonServices
