#pragma once

#include <memory>
#include <string>

#include "platform/messaging/ServiceMessageHandler.h"

namespace Weftline::Services::Scheduler {

/// Hands out a query's audio formats, and consumes them. Keeps nothing of a request.
class FindAudioFormatsHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandler {
public:
    explicit FindAudioFormatsHandler(std::string realm);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    bool HandleMessage(std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context,
                       const CoreServices::Parameters& request,
                       PlatformAbstraction::Messaging::ServiceMessageResponse& response) override;

private:
    const std::string m_realm;  // where the service is registered; the store knows no realms
};

}  // namespace Weftline::Services::Scheduler
