#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/parameters/Parameters.h"
#include "platform/messaging/MessageContext.h"
#include "platform/messaging/RegistrationParams.h"
#include "platform/messaging/ServiceMessageResponse.h"

// What a service registers to answer messages. Held by shared pointer in `ServiceInfo`; called by the bus's
// threads, several at once, so a handler keeps nothing of a request.

namespace PlatformAbstraction::Messaging {

/// A handler of the first kind: it answers through the response that it is given.
class ServiceMessageHandler {
public:
    virtual RegistrationParams GetRegistrationParams() const = 0;

    /// Answers through `response`; the result says whether an answer went out. An exception that leaves
    /// becomes an error answer.
    virtual bool HandleMessage(std::shared_ptr<MessageContext> context,
                               const CoreServices::Parameters& request, ServiceMessageResponse& response) = 0;

    virtual ~ServiceMessageHandler() = default;
};

/// A handler of the second kind: it answers by what it returns and fails by throwing.
class ServiceMessageHandlerV2 {
public:
    virtual RegistrationParams GetRegistrationParams() const = 0;

    virtual CoreServices::Parameters HandleMessageV2(const CoreServices::Parameters& request,
                                                     std::shared_ptr<MessageContext> context) = 0;

    virtual ~ServiceMessageHandlerV2() = default;
};

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

namespace Weftline {

/// A handler of a submission: the platform hands back what the operation was registered with
/// (`SubmitOpJobInfo`) on every call. It answers by what it returns and fails by throwing.
class SubmitMessageHandler {
public:
    virtual PlatformAbstraction::RegistrationParams GetRegistrationParams() const = 0;

    virtual CoreServices::Parameters SubmitJob(
        const std::string& jobKind, const std::string& evalTaskKind, const std::string& name,
        bool failJobDefault, const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) = 0;

    virtual ~SubmitMessageHandler() = default;
};

}  // namespace Weftline
