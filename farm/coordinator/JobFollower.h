#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "farm/coordinator/JobBoard.h"
#include "farm/coordinator/JobRecords.h"
#include "platform/stores/EventLog.h"

namespace Quillon::Farm {

/// The coordinator's place in the event log, kept as a record of the object store: all jobs announced up to
/// it have ended. An older place than the true one does no harm: what has come to its end is passed over when
/// it is read again. A coordinator that takes over from another claims it first, so that the other, whose
/// jobs may be others' by now, keeps none any more. For one thread.
class KeptPosition {
public:
    /// Throws `ObjectStoreException` when the store cannot be read, or the place cannot be claimed.
    explicit KeptPosition(std::shared_ptr<const LeaseTerm> term);

    /// 0 where none was kept, or what was kept is no place: then the log is read from the first event.
    std::int64_t Offset() const { return m_offset; }
    /// False when the store did not take it, or another has changed it meanwhile.
    [[nodiscard]] bool Keep(std::int64_t offset);

private:
    const std::shared_ptr<const LeaseTerm> m_pTerm;
    std::optional<Weftline::Record> m_stored;
    std::int64_t m_offset = 0;
};

/// Reads the announcements of jobs from the event log, from the kept position on, and puts those that have
/// work left on the board. A job that the farm cannot do fails here, visibly and at once. The coordinator's,
/// on a thread of its own; board and records outlive it.
class JobFollower {
public:
    JobFollower(JobBoard& board, JobRecords& records, std::shared_ptr<const LeaseTerm> term);

    /// Follows the log until the stop. A store that fails is tried again, so that no job is passed over.
    void Run(const std::stop_token& stop);

private:
    void ReadOn(const std::stop_token& stop);
    void TakeJob(const Weftline::Record& job, std::int64_t offset);
    /// Of a job that nobody can do.
    void Refuse(const std::string& jobId, const std::string& reason);
    void KeepPosition();

    JobBoard& m_board;
    JobRecords& m_records;
    const std::shared_ptr<const LeaseTerm> m_pTerm;
    std::optional<KeptPosition> m_kept;  // empty until it could be read
    std::int64_t m_read = 0;             // up to where the log has been read
    std::chrono::steady_clock::time_point m_keptAt;
    bool m_isStoreFailing = false;
};

}  // namespace Quillon::Farm
