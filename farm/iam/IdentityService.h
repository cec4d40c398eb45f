#pragma once

#include <memory>

#include "farm/iam/PrincipalDirectory.h"
#include "platform/messaging/ServiceInfo.h"

namespace Quillon::Farm {

/// The identity service of the local farm, ready to be attached: it tells the display name of each of
/// `principals`.
std::shared_ptr<PlatformAbstraction::Messaging::ServiceInfo> MakeIdentityService(
    std::shared_ptr<const PrincipalDirectory> principals);

}  // namespace Quillon::Farm
