#pragma once

#include <string>
#include <string_view>

#include "platform/messaging/BusMessaging.h"

namespace Quillon::Farm {

/// The workers behind one worker service; each carries out one task at a time.
struct WorkerCrew {
    std::string_view service;  ///< where their tasks go; the coordinator is told it as `workerKind`
    std::string_view tag;
    bool metadataOnly = false;
    int size = 0;
};

/// Reports each worker in with the coordinator of the realm. One that cannot be told is a line in the log.
void ReportWorkers(const WorkerCrew& crew, PlatformAbstraction::Messaging::BusMessaging& messaging,
                   const std::string& realm);

}  // namespace Quillon::Farm
