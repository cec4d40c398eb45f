#pragma once

#include <memory>

#include "platform/deployment/DeployedTransport.h"

namespace Quillon::Farm {

/// Puts the local farm on the bus of one process: identity service, job monitor, coordinator, and the workers
/// of metadata and media, in the realm of `service`. To be given to `MakeStandaloneTransport`; the
/// object store has to be there. Throws standard exceptions with a text for the operator.
[[nodiscard]] std::shared_ptr<PlatformAbstraction::Deployment::AttachedFarm> StartLocalFarm(
    PlatformAbstraction::Messaging::MessageBus& bus,
    const PlatformAbstraction::Deployment::BusSettings& settings,
    const PlatformAbstraction::Messaging::ServiceInfoApi& service);

}  // namespace Quillon::Farm
