#pragma once

#include <memory>
#include <string>

#include "platform/messaging/ServiceInfo.h"

namespace Quillon::Farm {

class JobDirectory;

/// The job monitor of the local farm as a service, ready to be attached.
std::shared_ptr<PlatformAbstraction::Messaging::ServiceInfo> MakeJobMonitorService(
    const std::shared_ptr<JobDirectory>& jobs);

}  // namespace Quillon::Farm
