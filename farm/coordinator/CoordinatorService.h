#pragma once

#include <memory>
#include <string>

#include "platform/messaging/ServiceInfo.h"

namespace Quillon::Farm {

class Coordinator;

/// The coordinator of the local farm as a service, ready to be attached. `realm` is that of the scheduler.
std::shared_ptr<PlatformAbstraction::Messaging::ServiceInfo> MakeCoordinatorService(
    const std::string& realm, const std::shared_ptr<Coordinator>& coordinator);

}  // namespace Quillon::Farm
