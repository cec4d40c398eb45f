#pragma once

#include <memory>

#include "platform/messaging/ServiceMessageHandlerV2.h"

namespace Quillon::Farm {

class JobDirectory;

/// Tells one job, found by its `clientKey`, as the tree `body`. A job that is not there is an error.
class FindJobHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    explicit FindJobHandler(std::shared_ptr<JobDirectory> jobs);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) override;

private:
    const std::shared_ptr<JobDirectory> m_pJobs;
};

}  // namespace Quillon::Farm
