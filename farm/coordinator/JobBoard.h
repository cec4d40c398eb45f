#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <unordered_set>
#include <vector>

#include "farm/coordinator/OpenOffsets.h"
#include "farm/coordinator/WorkQueue.h"
#include "farm/coordinator/WorkerRoster.h"

namespace Quillon::Farm {

/// Where jobs that wait and workers that are free meet. It holds a bounded window of the jobs: whoever reads
/// them from the log waits for room, so that a burst of any size takes no more memory than the window, and
/// the order of priorities is that among the jobs in it. Any thread may call.
class JobBoard {
public:
    /// `low` is the offset up to which the log has been dealt with.
    explicit JobBoard(std::int64_t low);

    // For the reader of the log.

    /// True once there is room for a batch of jobs; false at the end of the time, or on a stop.
    bool WaitForRoom(const std::stop_token& stop, std::chrono::milliseconds time);
    /// The event needs nothing done.
    void Pass(std::int64_t offset);
    /// A job from the log. One that is in the window already is passed.
    void Post(JobTicket ticket);
    /// Up to where the log has been dealt with.
    std::int64_t Low() const;

    // For the thread of a worker.

    /// Waits for a job with a task for the worker, which is busy from then on; nothing on a stop.
    std::optional<JobTicket> Take(const Worker& worker, const std::stop_token& stop);
    /// The worker is free, and the job waits for its next task, or for the same one again.
    void PutBack(const Worker& worker, JobTicket ticket);
    /// The worker is free, and the job is done with.
    void Finish(const Worker& worker, const JobTicket& ticket);

    // For the handlers.

    /// As `WorkerRoster::Report`.
    bool Report(const Worker& worker);
    std::vector<WorkerState> Workers() const;

private:
    bool HasRoom() const;

    mutable std::mutex m_mutex;
    std::condition_variable_any m_changed;
    // Guarded by m_mutex:
    OpenOffsets m_offsets;
    WorkQueue m_waiting;
    std::unordered_set<std::string> m_jobsInWindow;
    WorkerRoster m_workers;
};

}  // namespace Quillon::Farm
