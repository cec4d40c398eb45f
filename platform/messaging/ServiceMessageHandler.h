#pragma once

#include <memory>

#include "base/parameters/Parameters.h"
#include "platform/messaging/MessageContext.h"
#include "platform/messaging/RegistrationParams.h"
#include "platform/messaging/ServiceMessageResponse.h"

namespace PlatformAbstraction::Messaging {

/// A handler of the first kind: it answers through the response that it is given. Held by shared pointer in
/// `ServiceInfo`; called by the bus's threads, several at once, so it keeps nothing of a request.
class ServiceMessageHandler {
public:
    virtual RegistrationParams GetRegistrationParams() const = 0;

    /// Answers through `response`; the result says whether an answer went out. An exception that leaves
    /// becomes an error answer.
    virtual bool HandleMessage(std::shared_ptr<MessageContext> context,
                               const CoreServices::Parameters& request, ServiceMessageResponse& response) = 0;

    virtual ~ServiceMessageHandler() = default;
};

}  // namespace PlatformAbstraction::Messaging
