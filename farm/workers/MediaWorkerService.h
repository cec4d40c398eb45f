#pragma once

#include <memory>
#include <string>

#include "farm/workers/WorkerService.h"

namespace Quillon::Farm {

/// The media worker of the local farm, ready to be attached. It touches no media: it carries out a task as a
/// worker would be seen to, with its progress told to the coordinator over the time of a task.
std::shared_ptr<PlatformAbstraction::Messaging::ServiceInfo> MakeMediaWorkerService(
    const WorkerSettings& settings);

/// Reports the workers in with the coordinator, which has to be on the bus already.
void ReportMediaWorkers(PlatformAbstraction::Messaging::BusMessaging& messaging, const std::string& realm);

}  // namespace Quillon::Farm
