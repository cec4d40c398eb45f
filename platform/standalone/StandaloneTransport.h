#pragma once

#include <functional>
#include <memory>

#include "BusSettings.h"
#include "BusTransport.h"
#include "InProcessBus.h"

namespace PlatformAbstraction::Standalone {

/// Attaches further services to a bus that runs, before the first request can come from outside. What it
/// gives back is kept until that bus has stopped. An exception stops the start with its text.
using FarmHook = std::function<std::shared_ptr<void>(
    Messaging::InProcessBus& bus, const BusSettings& settings, const Messaging::ServiceInfoApi& service)>;

}  // namespace PlatformAbstraction::Standalone

namespace PlatformAbstraction::Messaging {

/// The bus of a deployment in one process: the bus itself, the service on it, and an HTTP gateway in front of
/// the service, at the service's host and the process setting `port`. From its start on SIGINT and SIGTERM
/// end it as soon as somebody waits in `WaitUntilStopped`; a second signal then ends the process at once.
std::unique_ptr<BusTransport> MakeStandaloneTransport();
/// The same with a local farm on the bus, unless the bus settings switch it off.
std::unique_ptr<BusTransport> MakeStandaloneTransportWithFarm(Standalone::FarmHook farm);

}  // namespace PlatformAbstraction::Messaging
