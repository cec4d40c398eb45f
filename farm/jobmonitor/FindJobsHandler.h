#pragma once

#include <memory>

#include "platform/messaging/ServiceMessageHandlerV2.h"

namespace Quillon::Farm {

class JobDirectory;

/// Tells a page of the jobs, the newest first, as the array `results`. `body` may ask for the jobs of a
/// creator
/// (`createdBy` with its `identityId`) and for those of a parent (`parent` with its `id`; null for jobs that
/// have none). A page has 100 jobs where `limit` does not say, and never more than 1000.
class FindJobsHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    explicit FindJobsHandler(std::shared_ptr<JobDirectory> jobs);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) override;

private:
    const std::shared_ptr<JobDirectory> m_pJobs;
};

}  // namespace Quillon::Farm
