#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
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
    /// Where tasks for this worker alone go; empty: those for its service go to it.
    std::string taskRealm = {};
    /// Which jobs it is at, of a worker that reports time and again.
    std::optional<std::vector<std::string>> jobIds = {};
};

/// When a worker that reports time and again is no more counted upon.
struct WorkerPatience {
    /// Some of its reports, of which one is due every second.
    std::chrono::milliseconds silence{10'000};
    /// That it reports without the job that it is waited for: then the answer was lost on the way.
    int reportsWithoutJob = 3;
};

/// A worker and what it is at.
struct WorkerState {
    Worker worker;
    std::string taskKind = {};        ///< empty while it waits for work
    std::string user = {};            ///< for whom it works
    std::string since;                ///< extended ISO time in UTC
    std::string jobId = {};           ///< of the job that it has until it is released
    std::int64_t offset = kNoOffset;  ///< of that job
    std::chrono::steady_clock::time_point reportedAt = {};
    int reportsWithoutJob = 0;  ///< since it was given its job
};

/// The workers that have reported in, in that order. One thread at a time.
class WorkerRoster {
public:
    explicit WorkerRoster(const WorkerPatience& patience) : m_patience(patience) {}

    /// True for a new worker; one that reports again is only brought up to date. Throws
    /// `BadRequestHandlerError` when there are too many.
    bool Report(const Worker& worker);

    /// Whether it reports time and again and was silent for too long.
    bool IsSilent(std::string_view workerId) const;
    /// The same, or whether it is not at its job.
    bool IsLost(std::string_view workerId) const;
    /// As if it had been silent, until it reports again.
    void NoteSilence(std::string_view workerId);
    void Remove(std::string_view workerId);

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
    const WorkerState* Find(std::string_view workerId) const;

    const WorkerPatience m_patience;
    std::vector<WorkerState> m_states;
};

}  // namespace Quillon::Farm
