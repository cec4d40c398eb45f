#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "platform/deployment/BusSettings.h"
#include "platform/messaging/BusTransport.h"
#include "platform/messaging/MessageBus.h"

namespace PlatformAbstraction::Deployment {

/// A farm of further services that are on the bus. Kept until that bus has stopped.
class AttachedFarm {
public:
    AttachedFarm() = default;
    AttachedFarm(const AttachedFarm&) = delete;
    AttachedFarm& operator=(const AttachedFarm&) = delete;
    virtual ~AttachedFarm() = default;

    /// The callers of the gateway are others from now on. On the main thread, while messages come.
    virtual void SetCallers(const std::vector<Rest::Caller>& /*callers*/) {}

    /// Ends what the farm does of its own accord, and what would keep its handlers long at work. Called once
    /// nothing more comes from outside and before the bus stops: its services still answer.
    virtual void Stop() noexcept = 0;
};

/// Attaches further services to a bus that runs, before the first request can come from outside. May give
/// nothing back. An exception stops the start with its text.
using FarmHook = std::function<std::shared_ptr<AttachedFarm>(
    Messaging::MessageBus& bus, const BusSettings& settings, const Messaging::ServiceInfoApi& service)>;

}  // namespace PlatformAbstraction::Deployment

namespace PlatformAbstraction::Messaging {

/// A deployment in one process: the bus itself, the service on it, and an HTTP gateway in front of the
/// service, at the service's host and the process setting `port`. As soon as it is made SIGINT and SIGTERM no
/// longer end the process: they end the bus once somebody waits in `WaitUntilStopped`, and a second signal
/// then ends the process at once. On SIGHUP the wait goes on with the callers that the file of bus settings
/// names now; a file that is refused, or that would open a service which asks for tokens to everybody,
/// changes nothing. `farm` attaches a local farm, unless the bus settings switch it off.
std::unique_ptr<BusTransport> MakeStandaloneTransport(Deployment::FarmHook farm = {});

/// The same on the bus of many machines: the service's host and the process setting `port` address its
/// server, unless the bus settings name servers, and the gateway listens where these say. `farm` is attached
/// where they ask for it. The start fails while the bus cannot be joined; later on it comes back by itself.
std::unique_ptr<BusTransport> MakeDistributedTransport(Deployment::FarmHook farm = {});

}  // namespace PlatformAbstraction::Messaging
