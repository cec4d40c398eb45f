#pragma once

#include <memory>

#include "platform/messaging/ServiceMessageHandler.h"

namespace Weftline::Services::Scheduler {

/// Removes a finished job from the job monitor. The client knows the job by its client key, the monitor
/// removes by id: so the job is asked for first, and one that is still at work is refused. Nothing keeps the
/// job from changing between the two messages, each of which may block the thread for ten seconds.
///
/// Without state; any thread may call.
class RemoveJobEx final : public PlatformAbstraction::Messaging::ServiceMessageHandler {
public:
    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    /// Gives true in every case. A failure is printed as well as answered.
    bool HandleMessage(std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context,
                       const CoreServices::Parameters& request,
                       PlatformAbstraction::Messaging::ServiceMessageResponse& response) override;
};

}  // namespace Weftline::Services::Scheduler
