#pragma once

#include <memory>
#include <string>

#include "platform/messaging/ServiceMessageHandlerV2.h"

namespace Weftline::Services::Scheduler {

/// Hands out the mob ids that a query found in a container, and consumes them.
class FindMobIDsFromContainerHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    explicit FindMobIDsFromContainerHandler(std::string realm);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) override;

private:
    const std::string m_realm;  // where the service is registered; the store knows no realms
};

}  // namespace Weftline::Services::Scheduler
