#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/jobmanager/JobManagerMessages.h"
#include "platform/messaging/BusMessaging.h"

namespace CommonServices {

/// The client of the job manager, a service on the bus; JobManagerMessages.h tells what it is asked. Without
/// state, so any thread may call. Each operation sends one request and waits for its answer, for ten seconds
/// at most. What the bus throws passes through.
class JobManager {
public:
    using BusPointer = std::shared_ptr<PlatformAbstraction::Messaging::BusMessaging>;

    /// One page of the jobs of a kind, those from the `offset`th. `limit` goes in as the size of the page and
    /// comes back as the manager's, as it was told: also zero or negative. `total` becomes the number of jobs
    /// of the kind. An empty `identity` is not sent.
    ///
    /// Throws `std::runtime_error` when no answer came in time, or an error, or one of another shape; `limit`
    /// and `total` are then unchanged.
    std::vector<JobInfo> FindJobsByKind(const BusPointer& busMessaging,
                                        const CoreServices::Parameters& identity, const std::string& kind,
                                        std::int32_t offset, std::int32_t& limit, std::int32_t& total) const;

    /// One page of the jobs that have this one as their parent, those from the `offset`th. Throws as
    /// `FindJobsByKind` does.
    std::vector<JobInfo> FindSubTasks(const BusPointer& busMessaging, const std::string& jobId,
                                      std::int32_t offset, std::int32_t limit) const;

    /// True when the manager says that the job was removed; `jobInfo` then becomes one of that id and nothing
    /// more. False for an error, an empty answer, one of another shape, and when none came in time.
    [[nodiscard]] bool RemoveJob(const BusPointer& busMessaging, const CoreServices::Parameters& identity,
                                 const std::string& jobId, JobInfo& jobInfo) const;
};

}  // namespace CommonServices
