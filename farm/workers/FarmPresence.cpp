#include "farm/workers/FarmPresence.h"

#include "platform/messaging/PlatformIdentifiers.h"

namespace Quillon::Farm {

using PlatformAbstraction::MutexLock;

FarmPresence::FarmPresence(const std::string& realm)
    : m_id(PlatformAbstraction::CreateGuidAsString()), m_taskRealm(realm + "/" + m_id) {}

std::vector<std::string> FarmPresence::JobsOf(const std::string& workerId) const {
    const MutexLock lock(m_mutex);
    std::vector<std::string> jobs;
    const auto [first, last] = m_jobs.equal_range(workerId);
    for (auto job = first; job != last; ++job) {
        jobs.push_back(job->second);
    }
    return jobs;
}

FarmPresence::AtWork::AtWork(FarmPresence* presence, const std::string& workerId, const std::string& jobId)
    : m_pPresence(presence) {
    if (m_pPresence != nullptr) {
        const MutexLock lock(m_pPresence->m_mutex);
        m_place = m_pPresence->m_jobs.emplace(workerId, jobId);
    }
}

FarmPresence::AtWork::~AtWork() {
    if (m_pPresence != nullptr) {
        const MutexLock lock(m_pPresence->m_mutex);
        m_pPresence->m_jobs.erase(m_place);
    }
}

}  // namespace Quillon::Farm
