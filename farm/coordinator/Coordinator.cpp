#include "farm/coordinator/Coordinator.h"

#include <utility>

#include "Core/src/JobKinds.h"
#include "base/log/PlatformLog.h"
#include "farm/coordinator/TaskSlot.h"

namespace Quillon::Farm {

Coordinator::Coordinator(std::string realm, std::shared_ptr<const LeaseTerm> term,
                         const WorkerPatience& patience)
    : m_realm(std::move(realm)),
      m_pTerm(std::move(term)),
      m_records(m_pTerm),
      m_board(patience),
      m_follower(m_board, m_records, m_pTerm) {}

Coordinator::~Coordinator() {
    Stop();
}

void Coordinator::Start(std::shared_ptr<PlatformAbstraction::Messaging::BusMessaging> messaging) {
    const PlatformAbstraction::MutexLock lock(m_mutex);
    m_pMessaging = std::move(messaging);
    m_following = std::jthread([this](const std::stop_token& stop) { m_follower.Run(stop); });
    for (const WorkerState& state : m_board.Workers()) {
        StartSlot(state.worker);
    }
}

void Coordinator::Stop() noexcept {
    std::jthread following;
    std::vector<Slot> slots;
    {
        const PlatformAbstraction::MutexLock lock(m_mutex);
        m_pMessaging.reset();
        following = std::move(m_following);
        slots.swap(m_slots);
    }
    following.request_stop();
    for (Slot& slot : slots) {
        slot.thread.request_stop();
    }
    // The follower ends last: what it keeps at its end is what all others have left.
    slots.clear();
}

void Coordinator::ReportWorker(const Worker& worker) {
    const PlatformAbstraction::MutexLock lock(m_mutex);
    if (m_board.Report(worker) && m_pMessaging) {
        StartSlot(worker);
    }
}

void Coordinator::TellProgress(const std::string& jobId, std::int32_t progress) {
    constexpr std::int32_t kAllDone = 100;
    if (progress >= kAllDone || m_pTerm->IsOver()) {
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
    std::erase_if(m_slots, [](const Slot& slot) { return slot.hasEnded->load(); });
    auto slot =
        std::make_shared<TaskSlot>(worker, m_realm, m_pTerm->Number(), m_pMessaging, m_board, m_records);
    auto hasEnded = std::make_shared<std::atomic<bool>>(false);
    m_slots.push_back({hasEnded, std::jthread([slot, hasEnded](const std::stop_token& stop) {
                           slot->Run(stop);
                           *hasEnded = true;
                       })});
    PlatformAbstraction::Log::Debug("The worker " + worker.id + " has reported in.");
}

}  // namespace Quillon::Farm
