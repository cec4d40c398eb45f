#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/messaging/BusTransport.h"

namespace PlatformAbstraction::Messaging {

using BusTransportFactory = std::function<std::unique_ptr<BusTransport>()>;

/// Names a bus that this program was built with. The composition root calls it before anything else.
void OfferDeploymentMode(const std::string& mode, BusTransportFactory factory);

/// Chooses the bus of the process for the connections made from now on. False, with a line in the log, for a
/// mode that is not on offer. The first call of the platform once the settings are known, so it also sets the
/// level of the log by the setting `loglevel`.
bool InitializeDeploymentMode(const std::string& mode);

/// A bus of the chosen mode. Throws `std::logic_error` when none was chosen.
std::unique_ptr<BusTransport> MakeBusTransport();

}  // namespace PlatformAbstraction::Messaging
