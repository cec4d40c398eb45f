#pragma once

#include <condition_variable>
#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "base/concurrency/Mutex.h"
#include "farm/coordinator/WorkQueue.h"
#include "farm/coordinator/WorkerRoster.h"

namespace Quillon::Farm {

/// Where jobs that wait and workers that are free meet. It holds all jobs that have been announced and have
/// not ended, so that the most urgent one is next however many wait. Thread-safe.
class JobBoard {
public:
    explicit JobBoard(const WorkerPatience& patience = {}) : m_workers(patience) {}

    // For the reader of the log.

    /// A job that waits for its next task. The same job may be posted more than once: never are two workers
    /// at it at a time.
    void Post(const JobTicket& ticket);
    /// The lowest offset of the jobs that have not ended; `kNoOffset` where all have.
    std::int64_t OldestOffset() const;

    // For the thread of a worker.

    /// Waits for a job with a task for the worker, which has it from then on; nothing on a stop, or when the
    /// worker was silent for too long: then it has left, and counts as new when it reports again.
    [[nodiscard]] std::optional<JobTicket> Take(const Worker& worker, const std::stop_token& stop);
    /// The worker is at the task of its job.
    void SetBusy(const Worker& worker, std::string_view taskKind, const std::string& user);
    /// As `WorkerRoster::IsLost` and `WorkerRoster::NoteSilence`.
    bool IsLost(const Worker& worker) const;
    void NoteSilence(const Worker& worker);
    /// The worker is free, and the job waits for its next task, or for the same one again.
    void PutBack(const Worker& worker, const JobTicket& ticket);
    /// The worker is free, and the job is done with.
    void Finish(const Worker& worker, const JobTicket& ticket);

    // For the handlers.

    /// As `WorkerRoster::Report`.
    [[nodiscard]] bool Report(const Worker& worker);
    std::vector<WorkerState> Workers() const;

private:
    void Release(const Worker& worker, const JobTicket& ticket) QUILLON_REQUIRES(m_mutex);

    mutable PlatformAbstraction::Mutex m_mutex;
    std::condition_variable_any m_changed;
    WorkQueue m_waiting QUILLON_GUARDED_BY(m_mutex);
    // Of jobs that a worker is at and that were announced once more; they wait until he has left the job,
    // since it may have been begun anew meanwhile.
    std::vector<JobTicket> m_repeated QUILLON_GUARDED_BY(m_mutex);
    WorkerRoster m_workers QUILLON_GUARDED_BY(m_mutex);
};

}  // namespace Quillon::Farm
