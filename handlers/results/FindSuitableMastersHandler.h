#pragma once

#include <memory>

#include "platform/messaging/ServiceMessageHandlerV2.h"

namespace Weftline::Services::Scheduler {

/// Hands out the suitable masters that a query found, and consumes them.
class FindSuitableMastersHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) override;
};

}  // namespace Weftline::Services::Scheduler
