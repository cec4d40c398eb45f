#pragma once

#include <chrono>
#include <cstdint>
#include <stop_token>
#include <string>
#include <vector>

#include "farm/coordinator/JobBoard.h"
#include "farm/coordinator/JobRecords.h"
#include "platform/stores/EventLog.h"

namespace Quillon::Farm {

/// The coordinator's place in the event log, kept as a record of the object store: all jobs announced up to
/// it have ended. An older place than the true one does no harm: what has come to its end is passed over when
/// it is read again.
namespace KeptPosition {

/// 0 where none was kept, or what was kept is no place: then the log is read from the first event. Throws
/// `ObjectStoreException` when the store cannot be read.
std::int64_t Load();

/// False when the store did not take it.
[[nodiscard]] bool Keep(std::int64_t offset);

}  // namespace KeptPosition

/// Reads the announcements of jobs from the event log, from the kept position on, and puts those that have
/// work left on the board. A job that the farm cannot do fails here, visibly and at once. The coordinator's,
/// on a thread of its own; board and records outlive it.
class JobFollower {
public:
    /// Throws as `KeptPosition::Load`.
    JobFollower(JobBoard& board, JobRecords& records);

    /// Follows the log until the stop. A store that fails is tried again, so that no job is passed over.
    void Run(const std::stop_token& stop);

private:
    /// A job that nobody can do.
    struct Refusal {
        std::string jobId;
        std::int64_t offset;
        std::string reason;
    };

    void ReadOn(const std::stop_token& stop);
    void TakeJob(const Weftline::Record& job, std::int64_t offset);
    void Refuse(Refusal refusal);
    /// False while the job is in removal and may yet be kept.
    [[nodiscard]] bool IsSettled(const Refusal& refusal);
    void KeepPosition();

    JobBoard& m_board;
    JobRecords& m_records;
    std::int64_t m_read;  // up to where the log has been read
    std::int64_t m_kept;  // up to where the kept position says that all is done
    std::chrono::steady_clock::time_point m_keptAt;
    std::vector<Refusal> m_refusals;  // that are not settled
    bool m_isStoreFailing = false;
};

}  // namespace Quillon::Farm
