#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ServiceInfo.h"

namespace Quillon::Farm {

/// Somebody whom the identity service knows.
struct Principal {
    std::string identityId;
    std::string displayName;
};

/// The identity service of the local farm, ready to be attached: it tells the display name of each of
/// `principals`. The first of several with one id counts.
std::shared_ptr<PlatformAbstraction::Messaging::ServiceInfo> MakeIdentityService(
    const std::vector<Principal>& principals);

}  // namespace Quillon::Farm
