#pragma once

#include <memory>
#include <string>

#include "platform/messaging/ServiceMessageHandler.h"

namespace Weftline::Services::Scheduler {

/// Hands out one page of a query's video formats, and consumes them all. Keeps nothing of a request.
class FindVideoFormatsHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandler {
public:
    explicit FindVideoFormatsHandler(std::string realm);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    bool HandleMessage(std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context,
                       const CoreServices::Parameters& request,
                       PlatformAbstraction::Messaging::ServiceMessageResponse& response) override;

private:
    const std::string m_realm;  // where the service is registered; the store knows no realms
};

}  // namespace Weftline::Services::Scheduler
