#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "platform/messaging/BusConnection.h"
#include "platform/messaging/ServiceMessageHandler.h"

namespace Weftline::Services::Scheduler {

/// Starts work that nobody waits for. Throws `std::system_error` when no thread can be started.
using ThreadStarter = std::function<void(std::function<void()> work)>;

/// Runs `work` on a detached thread, which may still be at it while the process ends: it owns all that it
/// uses, and reaches nothing that is destroyed then. What it throws ends that work and nothing else.
void StartDetachedThread(std::function<void()> work);

/// A handler that answers at once and leaves the rest to detached threads. Several threads may call at once,
/// and nothing orders what they start.
class DetachedHandler : public PlatformAbstraction::Messaging::ServiceMessageHandler {
public:
    explicit DetachedHandler(std::shared_ptr<PlatformAbstraction::Messaging::BusConnection> messagingService,
                             ThreadStarter startThread = StartDetachedThread)
        : m_pMessagingService(std::move(messagingService)), m_startThread(std::move(startThread)) {}

protected:
    const std::shared_ptr<PlatformAbstraction::Messaging::BusConnection> m_pMessagingService;
    const ThreadStarter m_startThread;
};

}  // namespace Weftline::Services::Scheduler
