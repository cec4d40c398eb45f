#include "farm/coordinator/Coordinator.h"

#include <utility>

#include "Core/src/JobKinds.h"
#include "base/log/PlatformLog.h"
#include "farm/coordinator/TaskSlot.h"

namespace Quillon::Farm {

Coordinator::Coordinator(std::string realm) : m_realm(std::move(realm)), m_follower(m_board, m_records) {}

Coordinator::~Coordinator() {
    Stop();
}

void Coordinator::Start(std::shared_ptr<PlatformAbstraction::Messaging::BusMessaging> messaging) {
    const PlatformAbstraction::MutexLock lock(m_mutex);
    m_pMessaging = std::move(messaging);
    m_threads.emplace_back([this](const std::stop_token& stop) { m_follower.Run(stop); });
    for (const WorkerState& state : m_board.Workers()) {
        StartSlot(state.worker);
    }
}

void Coordinator::Stop() noexcept {
    std::vector<std::jthread> threads;
    {
        const PlatformAbstraction::MutexLock lock(m_mutex);
        m_pMessaging.reset();
        threads.swap(m_threads);
    }
    for (std::jthread& thread : threads) {
        thread.request_stop();
    }
    // The follower, which is the first, joins last: what it keeps at its end is what all others have left.
    while (!threads.empty()) {
        threads.pop_back();
    }
}

void Coordinator::ReportWorker(const Worker& worker) {
    const PlatformAbstraction::MutexLock lock(m_mutex);
    if (m_board.Report(worker) && m_pMessaging) {
        StartSlot(worker);
    }
}

void Coordinator::TellProgress(const std::string& jobId, std::int32_t progress) {
    constexpr std::int32_t kAllDone = 100;
    if (progress >= kAllDone) {
        return;  // the end of the task, which comes next, writes that too
    }
    (void)m_records.Change(jobId, [progress](Weftline::Record& job) {
        if (ReadJobState(job) != Weftline::JobStates::Tasked || ReadProgress(job) >= progress) {
            return false;
        }
        SetProgress(job, progress);
        return true;
    });
}

void Coordinator::StartSlot(const Worker& worker) {
    auto slot = std::make_shared<TaskSlot>(worker, m_realm, m_pMessaging, m_board, m_records);
    m_threads.emplace_back([slot](const std::stop_token& stop) { slot->Run(stop); });
    PlatformAbstraction::Log::Debug("The worker " + worker.id + " has reported in.");
}

}  // namespace Quillon::Farm
