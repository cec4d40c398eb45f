#pragma once

#include <memory>

#include "platform/messaging/ServiceMessageHandlerV2.h"

namespace Quillon::Farm {

class Coordinator;

/// Tells what each worker that has reported in is doing, under `results`.
class WorkerPoolStatusHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    explicit WorkerPoolStatusHandler(std::shared_ptr<Coordinator> coordinator);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) override;

private:
    const std::shared_ptr<Coordinator> m_pCoordinator;
};

}  // namespace Quillon::Farm
