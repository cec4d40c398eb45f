#pragma once

#include <memory>
#include <string>

#include "base/parameters/Parameters.h"
#include "platform/messaging/MessageContext.h"
#include "platform/messaging/RegistrationParams.h"

namespace Weftline {

/// A handler of a submission: the platform hands back what the operation was registered with
/// (`SubmitOpJobInfo`) on every call. Held by shared pointer in `ServiceInfo`; called by the bus's threads,
/// several at once. It answers by what it returns and fails by throwing.
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
