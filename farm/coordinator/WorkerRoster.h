#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "farm/coordinator/JobTicket.h"

namespace Quillon::Farm {

/// A worker as it reported in. It carries out one task at a time.
struct Worker {
    std::string id;
    std::string machine;
    std::string tag;
    std::string service;  ///< its kind: the service that its tasks go to
    bool metadataOnly = false;
    std::int32_t processId = 0;
};

/// A worker and what it is at.
struct WorkerState {
    Worker worker;
    std::string taskKind = {};        ///< empty while it waits for work
    std::string user = {};            ///< for whom it works
    std::string since;                ///< extended ISO time in UTC
    std::string jobId = {};           ///< of the job that it has until it is released
    std::int64_t offset = kNoOffset;  ///< of that job
};

/// The workers that have reported in, in that order. One thread at a time.
class WorkerRoster {
public:
    /// True for a new worker; one that reports again is only brought up to date. Throws
    /// `BadRequestHandlerError` when there are too many.
    bool Report(const Worker& worker);

    /// From now on the job is the worker's.
    void Assign(std::string_view workerId, const JobTicket& ticket);
    /// The worker is at a task of its job.
    void SetBusy(std::string_view workerId, std::string_view taskKind, const std::string& user);
    /// The worker waits for work.
    void Release(std::string_view workerId);

    const std::vector<WorkerState>& States() const { return m_states; }

    /// Whether the worker may do the next task of a job with these wishes. A wish counts as long as there is
    /// a worker who can fulfil it; else the job would wait for ever.
    bool MayTake(const Worker& worker, const MachineWishes& wishes) const;
    bool IsAnyoneAt(std::string_view jobId) const;
    /// The lowest offset of the jobs that are assigned; `kNoOffset` where none is.
    std::int64_t OldestOffset() const;

private:
    WorkerState* Find(std::string_view workerId);

    std::vector<WorkerState> m_states;
};

}  // namespace Quillon::Farm
