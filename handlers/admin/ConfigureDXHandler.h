#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "handlers/admin/DispatchContext.h"
#include "handlers/admin/ThreadStarter.h"
#include "platform/messaging/BusConnection.h"
#include "platform/messaging/ServiceMessageHandler.h"

namespace Weftline::Services::Scheduler {

/// Passes the connection URL of the Dolmex indexing service on to the coordinator, on a detached thread: the
/// client's answer says that it is on its way. The same URL is not passed on twice in a row, though it
/// failed; the process alone remembers it. Several threads may call at once, and nothing orders what they
/// start.
class ConfigureDXHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandler {
public:
    explicit ConfigureDXHandler(
        std::shared_ptr<PlatformAbstraction::Messaging::BusConnection> messagingService,
        ThreadStarter startThread = StartDetachedThread);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    /// A URL that is missing or empty does nothing.
    bool HandleMessage(std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context,
                       const CoreServices::Parameters& request,
                       PlatformAbstraction::Messaging::ServiceMessageResponse& response) override;

private:
    /// Takes `url` for the last one, unless it is.
    bool RememberURL(const std::string& url);

    const std::shared_ptr<PlatformAbstraction::Messaging::BusConnection> m_pMessagingService;
    const ThreadStarter m_startThread;
    std::mutex m_mutex;
    std::string m_lastURL;  // guarded by m_mutex
};

/// The body of the thread. A failure is reported, and success after it all the same.
void SendGlobalConfigToCoordinator(const DispatchContext& dispatchContext, const std::string& url);

}  // namespace Weftline::Services::Scheduler
