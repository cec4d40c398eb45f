#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/concurrency/Mutex.h"
#include "handlers/admin/DetachedHandler.h"
#include "platform/messaging/BusConnection.h"
#include "platform/notifiers/IGenericNotifier.h"

namespace Weftline::Services::Scheduler {

/// Passes the connection URL of the Dolmex indexing service on to the coordinator, on a detached thread: the
/// client's answer says that it is on its way. The same URL is not passed on twice in a row, though it
/// failed; the process alone remembers it.
class ConfigureDXHandler final : public DetachedHandler {
public:
    using DetachedHandler::DetachedHandler;

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    /// A URL that is missing or empty does nothing.
    bool HandleMessage(std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context,
                       const CoreServices::Parameters& request,
                       PlatformAbstraction::Messaging::ServiceMessageResponse& response) override;

private:
    /// Takes `url` for the last one, unless it is.
    bool RememberURL(const std::string& url);

    PlatformAbstraction::Mutex m_mutex;
    std::string m_lastURL QUILLON_GUARDED_BY(m_mutex);
};

/// Has the farm's workers turn their logging on or off: the message goes on to both kinds of worker service
/// as a broadcast, each on a detached thread of its own, and the client is answered at once. What the message
/// says is the workers' to read.
class RemoteLoggingHandler final : public DetachedHandler {
public:
    using DetachedHandler::DetachedHandler;

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    bool HandleMessage(std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context,
                       const CoreServices::Parameters& request,
                       PlatformAbstraction::Messaging::ServiceMessageResponse& response) override;
};

/// How long a configuration thread looks out for a failure: one millisecond. Later ones are not seen.
inline constexpr int kDispatchWaitMicroseconds = 1000;

/// What a thread that passes configuration on carries, and keeps alive by it.
struct DispatchContext {
    std::shared_ptr<PlatformAbstraction::Messaging::BusConnection> busConnection;
    int waitMicroseconds = kDispatchWaitMicroseconds;
    std::shared_ptr<PlatformAbstraction::IGenericNotifier> notifier;
};

// The bodies of the threads. The notifier is told of a failure, and of success after it all the same.

void SendGlobalConfigToCoordinator(const DispatchContext& dispatchContext, const std::string& url);
void BroadcastToService(const DispatchContext& dispatchContext, const std::string& service,
                        std::int32_t version, const std::string& operation,
                        const CoreServices::Parameters& request);

}  // namespace Weftline::Services::Scheduler
