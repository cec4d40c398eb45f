#pragma once

#include <memory>
#include <string>

#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/ServiceMessageHandlerV2.h"

namespace Quillon::Farm {

class WorkerLog;

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

protected:
    explicit PerformTaskHandler(std::shared_ptr<const WorkerLog> log);

private:
    /// Returns when the task is done; the text of what it throws is the reason why the task failed. It may be
    /// a task that was carried out before, in whole or in part, and is to come to the same end then.
    virtual void CarryOut(const Task& task, PlatformAbstraction::Messaging::BusMessaging& messaging) = 0;

    const std::shared_ptr<const WorkerLog> m_pLog;
};

}  // namespace Quillon::Farm
