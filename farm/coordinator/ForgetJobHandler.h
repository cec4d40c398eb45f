#pragma once

#include <memory>

#include "platform/messaging/ServiceMessageHandlerV2.h"

namespace Quillon::Farm {

class Coordinator;

/// Gives a job up whose record is about to be deleted; the answer has the job's `id`.
class ForgetJobHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    explicit ForgetJobHandler(std::shared_ptr<Coordinator> coordinator);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) override;

private:
    const std::shared_ptr<Coordinator> m_pCoordinator;
};

}  // namespace Quillon::Farm
