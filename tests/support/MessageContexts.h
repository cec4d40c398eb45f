#pragma once

#include <memory>
#include <string>

#include "BusMessaging.h"
#include "MessageContext.h"

namespace TestSupport {

/// The context of a message whose caller is unknown.
std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> MakeAnonymousContext(
    std::shared_ptr<PlatformAbstraction::Messaging::BusMessaging> messaging);

/// The context of a message from a known caller: his identity stands where a gateway puts it, as
/// `context`.`identity` and as `identity` at the top level.
std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> MakeContextOf(
    const std::string& identityId, std::shared_ptr<PlatformAbstraction::Messaging::BusMessaging> messaging);

}  // namespace TestSupport
