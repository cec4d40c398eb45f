#pragma once

#include <memory>

#include "platform/messaging/ServiceMessageHandlerV2.h"

namespace Quillon::Farm {

class JobDirectory;

/// Tells a page of the jobs of a `kind`, the oldest first, as the array `results`, with the `limit` that the
/// page went by and the `total` of the kind. Each job has its subtask jobs in `details`. For job managers'
/// clients; JobManagerMessages.h tells the form.
class FindJobsByKindHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    explicit FindJobsByKindHandler(std::shared_ptr<JobDirectory> jobs);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) override;

private:
    const std::shared_ptr<JobDirectory> m_pJobs;
};

}  // namespace Quillon::Farm
