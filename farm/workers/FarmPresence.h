#pragma once

#include <map>
#include <string>
#include <vector>

#include "base/concurrency/Mutex.h"

namespace Quillon::Farm {

/// What the workers of a farm that has others beside it tell of themselves: under which address they alone
/// are reached, and at which jobs they are. Shared by the farm and its workers. Any thread may call.
class FarmPresence {
public:
    /// `realm` is that of the scheduler.
    explicit FarmPresence(const std::string& realm);

    /// Tells this farm from all others.
    const std::string& Id() const { return m_id; }
    /// Where tasks for the workers of this farm go.
    const std::string& TaskRealm() const { return m_taskRealm; }

    std::vector<std::string> JobsOf(const std::string& workerId) const;

    /// A worker is at a job as long as this lives.
    class AtWork {
    public:
        /// Without a farm that has others beside it, it does nothing.
        AtWork(FarmPresence* presence, const std::string& workerId, const std::string& jobId);
        AtWork(const AtWork&) = delete;
        AtWork& operator=(const AtWork&) = delete;
        ~AtWork();

    private:
        FarmPresence* const m_pPresence;
        std::multimap<std::string, std::string>::const_iterator m_place;
    };

private:
    const std::string m_id;
    const std::string m_taskRealm;

    mutable PlatformAbstraction::Mutex m_mutex;
    std::multimap<std::string, std::string> m_jobs QUILLON_GUARDED_BY(m_mutex);  // by worker
};

}  // namespace Quillon::Farm
