#pragma once

#include <memory>
#include <string>

#include "platform/messaging/inprocess/ServiceEndpoint.h"
#include "platform/messaging/nats/NatsConnection.h"
#include "platform/messaging/nats/NatsLink.h"

namespace PlatformAbstraction::Messaging {

/// Gives what arrives for `service` to its instance in this process; answers go out over `link`, the later
/// one where the one that the message came by is lost. What the instance does not take is answered with the
/// error that says why, or, where nobody waits, logged.
NatsConnection::OnMessage DeliveryTo(std::shared_ptr<ServiceEndpoint> endpoint, std::string service,
                                     std::weak_ptr<NatsLink> link);

}  // namespace PlatformAbstraction::Messaging
