#pragma once

#include <memory>
#include <string>

#include "farm/workers/WorkerService.h"

namespace Quillon::Farm {

/// The metadata worker of the local farm, ready to be attached: it answers the six catalogue messages and
/// carries out evaluations, metadata operations and queries, whose results it leaves in the object store.
///
/// `catalogueDirectory` holds catalogues to be used instead of those that are built in; it may be empty.
/// Throws `std::runtime_error` that names the file when one of them cannot be used.
std::shared_ptr<PlatformAbstraction::Messaging::ServiceInfo> MakeMetadataWorkerService(
    const WorkerSettings& settings, const std::string& catalogueDirectory);

/// As `ReportWorkers`.
void ReportMetadataWorkers(const WorkerSettings& settings,
                           PlatformAbstraction::Messaging::BusMessaging& messaging);

}  // namespace Quillon::Farm
