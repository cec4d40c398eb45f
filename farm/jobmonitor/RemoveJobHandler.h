#pragma once

#include <memory>
#include <string>

#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/ServiceMessageHandlerV2.h"

namespace Quillon::Farm {

class JobDirectory;

/// Removes a job by its `id`, whatever its state: the coordinator gives it up first, so that nothing writes
/// its record again. The answer has the `id`. A job that is not there is an error.
class RemoveJobHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    RemoveJobHandler(std::shared_ptr<JobDirectory> jobs, std::string coordinatorRealm);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) override;

private:
    void TellCoordinator(PlatformAbstraction::Messaging::BusMessaging& messaging,
                         const std::string& jobId) const;

    const std::shared_ptr<JobDirectory> m_pJobs;
    const std::string m_coordinatorRealm;
};

}  // namespace Quillon::Farm
