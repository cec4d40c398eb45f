#pragma once

#include <memory>

#include "platform/messaging/ServiceMessageHandlerV2.h"

namespace Weftline::Services::Scheduler {

/// Hands out what a query found about the availability of sources, and consumes it.
class FindSourceAvailabilityHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) override;
};

}  // namespace Weftline::Services::Scheduler
