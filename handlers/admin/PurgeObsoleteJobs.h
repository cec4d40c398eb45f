#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/parameters/Parameters.h"
#include "platform/jobmanager/JobInfo.h"
#include "platform/jobmanager/JobManager.h"
#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/MessageContext.h"

namespace Weftline::Services::Scheduler {

/// Removes the jobs of the kind `kind` of the request that are older than its `CreationDate`, with the
/// subtask jobs that they list, and prints how many jobs went. The body of a thread: it throws nothing that
/// can be told, and all that stops it is printed as one line. Jobs removed until then stay removed.
void PurgeObsoleteJobs(const CoreServices::Parameters& request,
                       const std::shared_ptr<CommonServices::JobManager>& jobManager,
                       const std::shared_ptr<PlatformAbstraction::Messaging::MessageContext>& context);

/// Every job of the kind, page by page in the manager's order. Ends whatever the manager answers: a
/// page without a size counts by the jobs that came and is the last if there are none, and so is the last of
/// a thousand empty pages in a row.
std::vector<CommonServices::JobInfo> FindAllJobsOfKind(
    const std::shared_ptr<PlatformAbstraction::Messaging::BusMessaging>& busMessaging,
    const CoreServices::Parameters& identity, const std::string& kind,
    const CommonServices::JobManager& jobManager);

/// Whether the job is older than `cutOff`, in ticks as of `ParseDateTime`. Never for one whose age cannot be
/// told.
bool IsObsolete(const CommonServices::JobInfo& job, std::int64_t cutOff);

/// Subtask jobs first. Gives how many removals went well; one that fails stops nothing.
int RemoveJobAndSubTasks(const std::shared_ptr<PlatformAbstraction::Messaging::BusMessaging>& busMessaging,
                         const CoreServices::Parameters& identity, const CommonServices::JobInfo& job,
                         const CommonServices::JobManager& jobManager);

}  // namespace Weftline::Services::Scheduler
