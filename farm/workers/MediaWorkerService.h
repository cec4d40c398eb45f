#pragma once

#include <memory>
#include <string>

#include "farm/workers/WorkerService.h"

namespace Quillon::Farm {

/// The media worker of the local farm, ready to be attached. It touches no media: it carries out a task as a
/// worker would be seen to, with its progress told to the coordinator over the time of a task.
std::shared_ptr<PlatformAbstraction::Messaging::ServiceInfo> MakeMediaWorkerService(
    const WorkerSettings& settings);

/// As `ReportWorkers`.
void ReportMediaWorkers(const WorkerSettings& settings,
                        PlatformAbstraction::Messaging::BusMessaging& messaging);

}  // namespace Quillon::Farm
