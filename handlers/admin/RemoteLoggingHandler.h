#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "handlers/admin/DispatchContext.h"
#include "handlers/admin/ThreadStarter.h"
#include "platform/messaging/BusConnection.h"
#include "platform/messaging/ServiceMessageHandler.h"

namespace Weftline::Services::Scheduler {

/// Has the farm's workers turn their logging on or off: the message goes on to both kinds of worker service
/// as a broadcast, each on a detached thread of its own, and the client is answered at once. What the message
/// says is the workers' to read. Read-only after construction; several threads may call at once.
class RemoteLoggingHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandler {
public:
    explicit RemoteLoggingHandler(
        std::shared_ptr<PlatformAbstraction::Messaging::BusConnection> messagingService,
        ThreadStarter startThread = StartDetachedThread);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    bool HandleMessage(std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context,
                       const CoreServices::Parameters& request,
                       PlatformAbstraction::Messaging::ServiceMessageResponse& response) override;

private:
    const std::shared_ptr<PlatformAbstraction::Messaging::BusConnection> m_pMessagingService;
    const ThreadStarter m_startThread;
};

/// The body of a thread. A failure is reported, and success after it all the same.
void BroadcastToService(const DispatchContext& dispatchContext, const std::string& service,
                        std::int32_t version, const std::string& operation,
                        const CoreServices::Parameters& request);

}  // namespace Weftline::Services::Scheduler
