#pragma once

#include <memory>

#include "handlers/admin/ThreadStarter.h"
#include "platform/messaging/BusConnection.h"
#include "platform/messaging/ServiceMessageHandler.h"

namespace Weftline::Services::Scheduler {

/// Starts a purge of old jobs of one kind and answers at once: OK says that it has started, not that it went
/// well. Each message has a detached thread of its own, which holds all that it uses and outlives the
/// message; what comes of it is printed. Several threads may call at once.
class RemoveObsoleteJobsHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandler {
public:
    explicit RemoveObsoleteJobsHandler(
        std::shared_ptr<PlatformAbstraction::Messaging::BusConnection> messagingService,
        ThreadStarter startThread = StartDetachedThread);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    /// Gives true in every case.
    bool HandleMessage(std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context,
                       const CoreServices::Parameters& request,
                       PlatformAbstraction::Messaging::ServiceMessageResponse& response) override;

private:
    // Held for as long as the handler lives; the purge goes over the bus of the message.
    const std::shared_ptr<PlatformAbstraction::Messaging::BusConnection> m_pMessagingService;
    const ThreadStarter m_startThread;
};

}  // namespace Weftline::Services::Scheduler
