#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "Core/src/wf_Record.h"
#include "base/concurrency/Mutex.h"
#include "farm/jobmonitor/JobAnswer.h"
#include "farm/jobmonitor/JobIndex.h"
#include "farm/jobmonitor/PagePlaces.h"

namespace Quillon::Farm {

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

    /// The newest first. Pages are full as long as there are jobs, and those of one call repeat and miss
    /// none (`PagePlaces`). Negative numbers count as 0.
    std::vector<ListedJob> Newest(const JobFilter& filter, const JobPage& page);
    /// The oldest first, likewise.
    std::vector<ListedJob> OfKind(const std::string& kind, const JobPage& page);
    std::int64_t CountOfKind(const std::string& kind);
    SubTasks SubTasksOf(const std::string& jobId);

    /// False when the job is not there: of several removals at the same time one alone gives true.
    [[nodiscard]] bool Remove(const std::string& jobId);

private:
    void StartOverIfLogIsAnother();
    /// A page of the list that begins behind the place `first`; `read` reads the index.
    template <class Read>
    std::vector<ListedJob> ReadPage(const Listing& listing, const JobPage& page, std::int64_t first,
                                    const Read& read);
    /// Reads what has come to the log, for a limited time.
    void CatchUp();
    enum class Asker { Follower, Page };
    std::size_t ReadBatch(Asker asker);
    /// Adds the jobs to `page`, and drops those whose record is gone.
    void Collect(std::vector<IndexedJob> entries, std::vector<ListedJob>& page);

    JobIndex m_index;
    PagePlaces m_places;
    // Held over one batch, so that batches come in order. A page gets its turn beside an index that is made
    // anew.
    PlatformAbstraction::FairMutex m_readingMutex;
    std::chrono::steady_clock::time_point m_logIsAwayUntil;  // for pages; guarded by m_readingMutex
    PlatformAbstraction::Mutex m_removalMutex;  // held from the look for a record until it is deleted
};

}  // namespace Quillon::Farm
