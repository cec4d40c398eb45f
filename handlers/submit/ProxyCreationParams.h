#pragma once

#include <string>
#include <vector>

#include "base/parameters/Parameters.h"

namespace Weftline::Services::Scheduler {

/// The job parameters of a proxy creation from a stored profile, as its example shows them.
struct ProxyCreationParams {
    std::string inputMetadataFile;
    std::vector<std::string> inputMobIDs;
    std::string targetFolder;
    std::string profile;  ///< the id of a stored profile
};

/// Every field in order; no mobs give an empty array.
CoreServices::Parameters WriteProxyCreationParams(const ProxyCreationParams& params);

}  // namespace Weftline::Services::Scheduler
