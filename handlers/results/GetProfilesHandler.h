#pragma once

#include <memory>

#include "platform/messaging/ServiceMessageHandlerV2.h"

namespace Weftline::Services::Scheduler {

/// Lists all profiles by id, name and kind. One record that is no profile fails the whole listing.
class GetProfilesHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) override;
};

}  // namespace Weftline::Services::Scheduler
