#pragma once

#include <memory>

#include "farm/iam/PrincipalDirectory.h"
#include "platform/messaging/ServiceMessageHandlerV2.h"

namespace Quillon::Farm {

/// Answers `entity`.`id` with `entity`: that `id`, and the `displayName` that goes with it. An id that nobody
/// has is an error. Constant after construction.
class FindPrincipalHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    explicit FindPrincipalHandler(std::shared_ptr<const PrincipalDirectory> principals);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) override;

private:
    const std::shared_ptr<const PrincipalDirectory> m_pPrincipals;
};

}  // namespace Quillon::Farm
