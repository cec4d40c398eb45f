#pragma once

#include <chrono>
#include <memory>
#include <stop_token>
#include <string>
#include <string_view>

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
    std::string kind;
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

/// Reports each worker in with the coordinator of the realm, which has to be on the bus already. One that
/// cannot be told is a line in the log.
void ReportWorkers(const WorkerCrew& crew, PlatformAbstraction::Messaging::BusMessaging& messaging,
                   const std::string& realm);

}  // namespace Quillon::Farm
