#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <stop_token>
#include <string>
#include <string_view>

#include "farm/workers/FarmPresence.h"
#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/ServiceInfo.h"
#include "platform/messaging/ServiceMessageHandler.h"

/// What the worker services of the farm have in common.
namespace Quillon::Farm {

class WorkerLog;

/// What a worker service is told by its farm.
struct WorkerSettings {
    std::string realm;                        ///< of the scheduler, and so of its workers
    std::chrono::milliseconds taskTime{200};  ///< that each task takes
    /// Ends the tasks under way at once: they are answered with the error code "SERVICE_STOPPING", which says
    /// that the task has not failed and is to be handed out again at the next start.
    std::stop_token stop;
    /// Of a farm that has others beside it; empty: it is the only one.
    std::shared_ptr<FarmPresence> presence = {};
};

/// The workers behind one worker service; each carries out one task at a time.
struct WorkerCrew {
    std::string_view service;  ///< where their tasks go; the coordinator is told it as `workerKind`
    std::string_view tag;
    bool metadataOnly = false;
    int size = 0;
};

/// A task as the coordinator hands it out.
struct Task {
    std::string jobId;
    std::string workerId;  ///< empty where the sender names none
    std::string kind;
    std::int64_t lease = 0;                   ///< the number of the coordinator's; 0: there is none
    CoreServices::Parameters processingData;  ///< of the job: the request that submitted it
};

/// Answers `performTask`: reads the task, has it carried out, and answers with an empty tree when it is done.
/// A derived class is one kind of worker. Several tasks may be under way on one object at once.
class PerformTaskHandler : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    PlatformAbstraction::RegistrationParams GetRegistrationParams() const final;
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) final;

    const std::shared_ptr<WorkerLog>& GetLog() const { return m_pLog; }

protected:
    PerformTaskHandler(const WorkerCrew& crew, WorkerSettings settings);

    const WorkerSettings& GetSettings() const { return m_settings; }
    /// What stands for work here: waits that long. A stop ends it at once, and then throws
    /// `MessageHandlerError` with the code "SERVICE_STOPPING". The thread counts as waiting, not as at work.
    void SpendTime(std::chrono::nanoseconds time) const;
    /// Throws `MessageHandlerError` with the code "SERVICE_STOPPING" where the job has ended meanwhile or
    /// another coordinator has it, which may be when this process was held up for long: then what the task
    /// would leave has no use any more.
    static void CheckIsWanted(const Task& task);

private:
    /// Returns when the task is done; the text of what it throws is the reason why the task failed. It may be
    /// a task that was carried out before, in whole or in part, and is to come to the same end then.
    virtual void CarryOut(const Task& task, PlatformAbstraction::Messaging::BusMessaging& messaging) = 0;

    const WorkerSettings m_settings;
    const std::shared_ptr<WorkerLog> m_pLog;
};

/// The service of a crew in the realm of the worker's settings: its `performTask`, and the `remoteLogging`
/// that switches its log.
std::shared_ptr<PlatformAbstraction::Messaging::ServiceInfo> MakeWorkerService(
    const WorkerCrew& crew, const std::string& realm, const std::shared_ptr<PerformTaskHandler>& tasks);

/// The same service once more, for those who mean the workers of this farm alone.
std::shared_ptr<PlatformAbstraction::Messaging::ServiceInfo> ForThisFarm(
    const PlatformAbstraction::Messaging::ServiceInfo& service, const FarmPresence& presence);

/// Reports each worker in with the coordinator of the realm. Where there is one farm it has to be on the bus
/// already, and a worker that cannot be told is a line in the log. Where there are others, all coordinators
/// are told, and it is the caller who repeats it.
void ReportWorkers(const WorkerCrew& crew, const WorkerSettings& settings,
                   PlatformAbstraction::Messaging::BusMessaging& messaging);

}  // namespace Quillon::Farm
