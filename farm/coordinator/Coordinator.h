#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/concurrency/Mutex.h"
#include "farm/coordinator/FarmLease.h"
#include "farm/coordinator/JobBoard.h"
#include "farm/coordinator/JobFollower.h"
#include "farm/coordinator/JobRecords.h"
#include "platform/messaging/BusMessaging.h"

namespace Quillon::Farm {

/// Hears of jobs, hands their tasks to the workers, and keeps their states until they have ended. What it has
/// to know after a restart lies in the store: the states of the jobs, and how far the event log has been
/// dealt with. Shared by the handlers of the service and the farm; thread-safe but for `Start` and `Stop`,
/// which are for whoever started it.
class Coordinator {
public:
    /// For the time of the term, or without one for whoever has the store to himself. Nothing is changed
    /// after its end, which however does not stop the coordinator.
    explicit Coordinator(std::string realm,
                         std::shared_ptr<const LeaseTerm> term = std::make_shared<LeaseTerm>(),
                         const WorkerPatience& patience = {});
    Coordinator(const Coordinator&) = delete;
    Coordinator& operator=(const Coordinator&) = delete;
    ~Coordinator();

    /// Begins to read jobs and to hand out tasks.
    void Start(std::shared_ptr<PlatformAbstraction::Messaging::BusMessaging> messaging);
    /// Returns when its threads have ended, which they do soon: tasks under way are left to their workers,
    /// and are handed out again after the next start.
    void Stop() noexcept;

    void ReportWorker(const Worker& worker);
    std::vector<WorkerState> Workers() const { return m_board.Workers(); }
    /// Of the job's last task, in percent. What comes late or goes back changes nothing.
    void TellProgress(const std::string& jobId, std::int32_t progress);

private:
    /// The thread of a worker.
    struct Slot {
        std::shared_ptr<std::atomic<bool>> hasEnded;
        std::jthread thread;
    };

    void StartSlot(const Worker& worker) QUILLON_REQUIRES(m_mutex);

    const std::string m_realm;
    const std::shared_ptr<const LeaseTerm> m_pTerm;
    JobRecords m_records;
    JobBoard m_board;
    JobFollower m_follower;

    PlatformAbstraction::Mutex m_mutex;
    // From the start to the stop.
    std::shared_ptr<PlatformAbstraction::Messaging::BusMessaging> m_pMessaging QUILLON_GUARDED_BY(m_mutex);
    // The last members, so that they end before what they use.
    std::jthread m_following QUILLON_GUARDED_BY(m_mutex);
    std::vector<Slot> m_slots QUILLON_GUARDED_BY(m_mutex);
};

}  // namespace Quillon::Farm
