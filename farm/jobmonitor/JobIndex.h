#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/concurrency/Mutex.h"

namespace Quillon::Farm {

/// A job as the index knows it: enough to find it, and to tell what its public data does not.
struct IndexedJob {
    std::int64_t order = 0;  ///< of announcement; the offset of the event
    std::string id;
    std::string creator;  ///< the identity; empty: unknown
    std::string parent;   ///< empty: none
    std::string kind;
};

/// Which jobs are meant; a member without a value lets all through.
struct JobFilter {
    std::optional<std::string> creator;
    std::optional<std::string> parent;  ///< empty: jobs that have none
};

/// How far the event log has been read into the index.
struct IndexPosition {
    std::int64_t offset = 0;
    std::string eventId;  ///< of the event there, by which another log is told from this one
};

/// The index was found damaged and is empty now. Whatever was asked of it was not done, and can be asked
/// again.
class JobIndexBegunAnew : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Another process has the file open.
class JobIndexInUse : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The jobs in the order of their announcement, by creator, parent and kind, in a small SQLite file of its
/// own. A page costs the same however many jobs there are, once its lists are prepared. All of it can be made
/// anew from the event log, so a file that is damaged, or of another layout, is begun anew, and a power cut
/// may take the last entries.
///
/// Any thread may call; one at a time is served. Damage is thrown as `JobIndexBegunAnew`, other faults of the
/// file as another `std::runtime_error`.
class JobIndex {
public:
    // Places before all jobs, for those who read the newest or the oldest first.
    static constexpr std::int64_t kNewest = std::numeric_limits<std::int64_t>::max();
    static constexpr std::int64_t kOldest = std::numeric_limits<std::int64_t>::min();

    /// Makes the file (0600) where there is none; its directory has to be there. An empty path keeps the
    /// index in memory.
    explicit JobIndex(const std::string& path);
    JobIndex(const JobIndex&) = delete;
    JobIndex& operator=(const JobIndex&) = delete;
    ~JobIndex();

    IndexPosition Position();
    /// Adds the jobs, in growing order, and moves the position, both or neither. A job that is there keeps
    /// its place.
    void Add(const std::vector<IndexedJob>& jobs, const IndexPosition& position);
    /// Ids that are not there are no failure.
    void Remove(const std::vector<std::string>& ids);
    /// Back to the state without jobs.
    void Clear();
    /// To be called when the jobs that were there are added. Before it was, in a file that is new or was
    /// cleared, adding costs less and a page may cost a walk over all jobs. Seconds for a million jobs, and
    /// nothing where it is done.
    void PrepareLists();

    /// Jobs announced before the place, the newest first: at most `limit` after leaving out `skip`. What is
    /// left out costs as much as what is read, so whoever goes on page by page names the place.
    std::vector<IndexedJob> Newest(const JobFilter& filter, std::int64_t before, std::int64_t skip,
                                   std::int32_t limit);
    /// Jobs of a kind announced after the place, the oldest first, likewise.
    std::vector<IndexedJob> OfKind(const std::string& kind, std::int64_t after, std::int64_t skip,
                                   std::int32_t limit);
    std::int64_t CountOfKind(const std::string& kind);
    /// The ids of the jobs of a parent, the oldest first.
    std::vector<std::string> ChildrenOf(const std::string& parent, std::int32_t limit);

private:
    struct Tables;

    /// What `work` gives for the tables.
    template <class Work>
    auto With(const Work& work);

    const std::string m_path;
    PlatformAbstraction::Mutex m_mutex;
    std::unique_ptr<Tables> m_pTables QUILLON_GUARDED_BY(m_mutex);  // none where opening failed
};

}  // namespace Quillon::Farm
