#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Core/src/wf_Record.h"
#include "base/parameters/Parameters.h"
#include "farm/jobmonitor/JobIndex.h"

/// What the job monitor reads from records and tells of jobs. A record whose JSON is broken is told as far as
/// it can be read.
namespace Quillon::Farm {

/// A job's record together with what the index knows of it.
struct ListedJob {
    Weftline::Record record;
    IndexedJob entry;
};

/// The jobs that have a job as their parent, the oldest first, as far as one list goes.
struct SubTasks {
    std::vector<std::string> ids;
    bool areMore = false;  ///< than `ids` names
};

IndexedJob MakeEntry(const Weftline::Record& job, std::int64_t order);

/// Whether `DescribeJob` reads the private data: of a failed job alone.
bool IsToldFromPrivateData(const Weftline::Record& job);

/// The job as every answer of the monitor tells it: the keys that clients of a job manager read
/// (`CommonServices::WriteJobInfo`), then `description`, `jobQueue`, `createdDateTime` and `parent` with its
/// `id`, null where there is none. A job that nobody has touched yet has the status "Created". `info` tells
/// of a failed job its `failureReason`; `details` names the subtasks, where there are some.
CoreServices::Parameters DescribeJob(const ListedJob& listed, const SubTasks& subTasks = {});

}  // namespace Quillon::Farm
