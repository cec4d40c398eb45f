#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/parameters/Parameters.h"

namespace Weftline::Services::Scheduler {

/// A worker as the coordinator reports it. A value, as are those below.
struct WorkerStatusRecord {
    std::string id;
    std::string status;
    std::string task;  ///< kind of the task at hand
    std::string user;
    std::string machine;
    std::string tag;
    std::string workerKind;
    bool metadataOnly = false;
    std::int32_t processID = 0;
    std::string time;
};

/// A worker as clients see it.
struct WorkerRow {
    std::string status;
    std::string taskType;  ///< for people; empty for a task that workers do not run
    std::string workingForUser;
    std::string workerName;  ///< its machine: workers have no names of their own
    std::string machineName;
    std::string workerTag;
    std::int32_t processID = 0;
    std::string time;
};

struct WorkerPoolInfo {
    std::vector<WorkerRow> rows;  ///< in the coordinator's order
    bool partitionOK = true;
    std::int32_t count = 0;
    std::string workerStatusJobID;  ///< always empty
};

/// The elements of `results`, none where it is missing. Throws `std::runtime_error` ("Failed to extract: "
/// and the key) for the first value that is missing or of another type.
std::vector<WorkerStatusRecord> ReadWorkerStatusRecords(const CoreServices::Parameters& answer);
/// All workers but those that serve metadata only.
WorkerPoolInfo MakeWorkerPoolInfo(const std::vector<WorkerStatusRecord>& records);
CoreServices::Parameters WriteWorkerPoolInfo(const WorkerPoolInfo& info);

}  // namespace Weftline::Services::Scheduler
