#pragma once

#include <memory>

#include "base/parameters/Parameters.h"
#include "platform/messaging/MessageContext.h"
#include "platform/messaging/RegistrationParams.h"

namespace PlatformAbstraction::Messaging {

/// A handler of the second kind: it answers by what it returns and fails by throwing. Held by shared pointer
/// in `ServiceInfo`; called by the bus's threads, several at once, so it keeps nothing of a request.
class ServiceMessageHandlerV2 {
public:
    virtual RegistrationParams GetRegistrationParams() const = 0;

    virtual CoreServices::Parameters HandleMessageV2(const CoreServices::Parameters& request,
                                                     std::shared_ptr<MessageContext> context) = 0;

    virtual ~ServiceMessageHandlerV2() = default;
};

}  // namespace PlatformAbstraction::Messaging
