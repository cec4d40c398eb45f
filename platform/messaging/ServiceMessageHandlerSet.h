#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/messaging/MessageContext.h"
#include "platform/messaging/RegistrationParams.h"

namespace PlatformAbstraction::Messaging {

/// A group of messages under one REST base. The platform offers it; the scheduler registers none.
class ServiceMessageHandlerSet {
public:
    virtual std::string GetSetName() const = 0;
    virtual std::vector<RegistrationParams> GetRegistrationParamsOfSet() const = 0;
    virtual CoreServices::Parameters HandleMessageOfSet(const std::string& name,
                                                        const CoreServices::Parameters& request,
                                                        std::shared_ptr<MessageContext> context) = 0;
    virtual ~ServiceMessageHandlerSet() = default;

    std::string GetServiceBaseURL() const { return ServiceBaseURL; }
    void SetServiceBaseURL(std::string url) { ServiceBaseURL = std::move(url); }
    std::string GetServiceBaseURLTail() const { return ServiceBaseURLTail; }
    void SetServiceBaseURLTail(std::string tail) { ServiceBaseURLTail = std::move(tail); }

private:
    std::string ServiceBaseURL;
    std::string ServiceBaseURLTail;
};

}  // namespace PlatformAbstraction::Messaging
