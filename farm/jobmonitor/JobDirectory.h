#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "Core/src/wf_Record.h"
#include "base/concurrency/FairMutex.h"
#include "farm/jobmonitor/JobIndex.h"

namespace Quillon::Farm {

/// A job's record together with what the index knows of it.
struct ListedJob {
    Weftline::Record record;
    IndexedJob entry;
};

/// The jobs as the job monitor lists them: their records in the store, found through an index that follows
/// the event log. A job whose record is gone is dropped from the index when it is met. Any thread may call.
/// Faults of store and index are thrown as standard exceptions.
class JobDirectory {
public:
    /// An index that belongs to another event log is begun anew.
    explicit JobDirectory(const std::string& indexPath);

    /// Keeps the index up with the log until the stop, so that a page finds little left to do.
    void Follow(const std::stop_token& stop);

    std::optional<ListedJob> Find(const std::string& jobId);

    /// Pages are full as long as there are jobs. Negative numbers count as 0.
    std::vector<ListedJob> Newest(const JobFilter& filter, std::int32_t offset, std::int32_t limit);
    std::vector<ListedJob> OfKind(const std::string& kind, std::int32_t offset, std::int32_t limit);
    std::int64_t CountOfKind(const std::string& kind);
    /// The ids of the jobs that have this one as their parent, at most some hundreds.
    std::vector<std::string> SubTasksOf(const std::string& jobId);

    /// False when the job is not there: of several removals at the same time one alone gives true.
    bool Remove(const std::string& jobId);

private:
    void StartOverIfLogIsAnother();
    std::vector<ListedJob> ReadNewest(const JobFilter& filter, std::int32_t offset, std::int32_t limit);
    std::vector<ListedJob> ReadOfKind(const std::string& kind, std::int32_t offset, std::int32_t limit);
    /// Reads what has come to the log, for a limited time.
    void CatchUp();
    std::size_t ReadBatch();
    /// Adds the jobs to `page`, and drops those whose record is gone.
    void Collect(std::vector<IndexedJob> entries, std::vector<ListedJob>& page);

    JobIndex m_index;
    // Held over one batch, so that batches come in order. A page gets its turn beside an index that is made
    // anew.
    PlatformAbstraction::FairMutex m_readingMutex;
    std::mutex m_removalMutex;  // held from the look for a record until it is deleted
};

}  // namespace Quillon::Farm
