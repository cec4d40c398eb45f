#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/parameters/Parameters.h"
#include "platform/messaging/BusMessaging.h"

namespace Weftline::Services {

/// Asks the identity service for the display name of the identity `identityId` of the tree. A courtesy and
/// never a gate: it does not throw, and every failure ends in a line on standard error and no name. Blocks
/// the calling thread for one second at most. Any thread may call.
std::optional<std::string> FetchDisplayNameFromIdentity(
    const CoreServices::Parameters& identity,
    const std::shared_ptr<PlatformAbstraction::Messaging::BusMessaging>& busMessaging);

}  // namespace Weftline::Services
