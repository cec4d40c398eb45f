#pragma once

#include <memory>

#include "platform/messaging/ServiceMessageHandler.h"

namespace Weftline::Services::Scheduler {

/// Gives a client one page of the farm's jobs. The job monitor filters by creator and parent only, so this
/// reads it in pages of its own, and filters by kind and counts here. At most ten questions go out for a
/// message, each of which may block the thread for ten seconds; jobs behind the first thousand are never
/// seen.
///
/// Without state; any thread may call. A monitor that fails makes the page shorter, not an error.
class FindJobsEx final : public PlatformAbstraction::Messaging::ServiceMessageHandler {
public:
    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    /// Gives true in every case.
    bool HandleMessage(std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context,
                       const CoreServices::Parameters& request,
                       PlatformAbstraction::Messaging::ServiceMessageResponse& response) override;
};

}  // namespace Weftline::Services::Scheduler
