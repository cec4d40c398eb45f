#pragma once

#include "handlers/admin/DetachedHandler.h"

namespace Weftline::Services::Scheduler {

/// Starts a purge of old jobs of one kind and answers at once: OK says that it has started, not that it went
/// well. Each message has a detached thread of its own, which holds all that it uses and outlives the
/// message; what comes of it is printed. The purge goes over the bus of the message.
class RemoveObsoleteJobsHandler final : public DetachedHandler {
public:
    using DetachedHandler::DetachedHandler;

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    /// Gives true in every case.
    bool HandleMessage(std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context,
                       const CoreServices::Parameters& request,
                       PlatformAbstraction::Messaging::ServiceMessageResponse& response) override;
};

}  // namespace Weftline::Services::Scheduler
