#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <variant>

#include "farm/coordinator/JobBoard.h"
#include "farm/coordinator/JobRecords.h"
#include "platform/messaging/BusMessaging.h"

namespace Quillon::Farm {

/// The coordinator's side of one worker: takes jobs from the board, hands their tasks to the worker's
/// service, and keeps their states. It runs on a thread of its own, which waits with the worker; board and
/// records outlive it.
class TaskSlot {
public:
    TaskSlot(Worker worker, std::string realm, std::int64_t leaseNumber,
             std::shared_ptr<PlatformAbstraction::Messaging::BusMessaging> messaging, JobBoard& board,
             JobRecords& records);

    /// Works until the stop, or until the worker has left. A job under way then keeps its state, from which
    /// the next start takes it up.
    void Run(const std::stop_token& stop);

private:
    enum class Result {
        Evaluated,    ///< the job waits for its next task
        Over,         ///< there is nothing left to do for the job
        Interrupted,  ///< the task has not come to an end, and is to be handed out again
    };
    struct TaskEnd {
        enum class Kind { Done, Failed, Interrupted };
        Kind kind = Kind::Done;
        std::string reason;  ///< of the failure
    };

    /// What a task is to work on, and for whom.
    struct Task {
        CoreServices::Parameters processingData;
        std::string user;
    };

    Result CarryOut(const JobTicket& ticket, const std::stop_token& stop);
    /// Notes in the record that the task is under way. Where it is not to be carried out, gives what becomes
    /// of the job instead.
    std::variant<Task, Result> Begin(const JobTicket& ticket, const std::stop_token& stop);
    [[nodiscard]] TaskEnd Perform(const JobTicket& ticket, const CoreServices::Parameters& processingData,
                                  const std::stop_token& stop) const;
    Result NoteEnd(const JobTicket& ticket, const TaskEnd& end, const std::stop_token& stop);

    /// `JobRecords::Change`, tried again as long as the store fails; nothing when the stop comes
    /// first.
    [[nodiscard]] std::optional<JobRecords::Outcome> Persist(const std::string& jobId,
                                                             const JobRecords::Edit& edit,
                                                             const std::stop_token& stop);

    const Worker m_worker;
    const std::string m_realm;
    const std::int64_t m_leaseNumber;
    const std::shared_ptr<PlatformAbstraction::Messaging::BusMessaging> m_pMessaging;
    JobBoard& m_board;
    JobRecords& m_records;
};

}  // namespace Quillon::Farm
