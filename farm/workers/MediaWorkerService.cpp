#include "farm/workers/MediaWorkerService.h"

#include "Core/src/Vocabulary.h"
#include "farm/protocol/FarmProtocol.h"
#include "farm/workers/MediaTaskHandler.h"
#include "farm/workers/SwitchLoggingHandler.h"
#include "farm/workers/WorkerLog.h"
#include "farm/workers/WorkerReport.h"

namespace Quillon::Farm {

using PlatformAbstraction::Messaging::ServiceInfo;

namespace {

constexpr WorkerCrew kCrew{Weftline::ServiceNames::MediaWorker, "media", false, 2};

}  // namespace

std::shared_ptr<ServiceInfo> MakeMediaWorkerService(const WorkerSettings& settings) {
    const auto log = std::make_shared<WorkerLog>(kCrew.service);
    auto service = std::make_shared<ServiceInfo>();
    service->SetNameRealmVersion(std::string(kCrew.service), settings.realm, kServiceVersion);
    service->AddMessageHandlerV2(std::make_shared<MediaTaskHandler>(settings, log));
    service->AddMessageHandlerV2(std::make_shared<SwitchLoggingHandler>(log));
    return service;
}

void ReportMediaWorkers(PlatformAbstraction::Messaging::BusMessaging& messaging, const std::string& realm) {
    ReportWorkers(kCrew, messaging, realm);
}

}  // namespace Quillon::Farm
