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
    std::string taskKind;  ///< empty while it waits for work
    std::string user;      ///< for whom it works
    std::string since;     ///< extended ISO time in UTC
};

/// The workers that have reported in, in that order. One thread at a time.
class WorkerRoster {
public:
    /// True for a new worker; one that reports again is only brought up to date. Throws
    /// `BadRequestHandlerError` when there are too many.
    bool Report(const Worker& worker);

    void SetBusy(std::string_view workerId, std::string_view taskKind, const std::string& user);
    void SetIdle(std::string_view workerId);

    const std::vector<WorkerState>& States() const { return m_states; }

    /// Whether the worker may do the ticket's next task. A job's wish for a machine, or for any but one,
    /// counts as long as there is a worker who can fulfil it; else the job would wait for ever.
    bool MayTake(const Worker& worker, const JobTicket& ticket) const;

private:
    WorkerState* Find(std::string_view workerId);

    std::vector<WorkerState> m_states;
};

}  // namespace Quillon::Farm
