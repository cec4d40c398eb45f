#pragma once

#include <chrono>
#include <cstdint>
#include <stop_token>

#include "farm/coordinator/JobBoard.h"
#include "farm/coordinator/JobRecords.h"
#include "platform/stores/EventLog.h"

namespace Quillon::Farm {

/// Reads the announcements of jobs from the event log, from the kept position on, and puts those that have
/// work left on the board. A job that the farm cannot do fails here, visibly and at once. The coordinator's,
/// on a thread of its own; board and records outlive it.
class JobFollower {
public:
    JobFollower(JobBoard& board, JobRecords& records);

    /// Follows the log until the stop. A store that fails is tried again, so that no job is passed over.
    void Run(const std::stop_token& stop);

private:
    void ReadOn(const std::stop_token& stop);
    void Take(const CommonServices::LoggedEvent& event);
    void TakeJob(const Weftline::Record& job, std::int64_t offset);
    void Refuse(const std::string& jobId, const std::string& reason);
    void KeepPosition();

    JobBoard& m_board;
    JobRecords& m_records;
    std::int64_t m_read;  // up to where the log has been read
    std::int64_t m_kept;  // up to where the kept position says that all is done
    std::chrono::steady_clock::time_point m_keptAt;
    bool m_isStoreFailing = false;
};

}  // namespace Quillon::Farm
