#include "farm/workers/MetadataWorkerService.h"

#include "Core/src/Vocabulary.h"
#include "farm/protocol/FarmProtocol.h"
#include "farm/workers/Catalogues.h"
#include "farm/workers/GetAudioFormatsHandler.h"
#include "farm/workers/GetColorSpacesHandler.h"
#include "farm/workers/GetExportTypesHandler.h"
#include "farm/workers/GetMediaCreationTypesHandler.h"
#include "farm/workers/GetS3DModesHandler.h"
#include "farm/workers/GetVideoFormatsHandler.h"
#include "farm/workers/MetadataTaskHandler.h"
#include "farm/workers/SwitchLoggingHandler.h"
#include "farm/workers/WorkerLog.h"
#include "farm/workers/WorkerReport.h"

namespace Quillon::Farm {

using PlatformAbstraction::Messaging::ServiceInfo;

namespace {

constexpr WorkerCrew kCrew{Weftline::ServiceNames::MetadataWorker, "metadata", true, 2};

}  // namespace

std::shared_ptr<ServiceInfo> MakeMetadataWorkerService(const WorkerSettings& settings,
                                                       const std::string& catalogueDirectory) {
    const auto catalogues = std::make_shared<const Catalogues>(catalogueDirectory);
    const auto log = std::make_shared<WorkerLog>(kCrew.service);
    auto service = std::make_shared<ServiceInfo>();
    service->SetNameRealmVersion(std::string(kCrew.service), settings.realm, kServiceVersion);
    service->AddMessageHandlerV2(std::make_shared<GetVideoFormatsHandler>(catalogues));
    service->AddMessageHandlerV2(std::make_shared<GetAudioFormatsHandler>(catalogues));
    service->AddMessageHandlerV2(std::make_shared<GetExportTypesHandler>(catalogues));
    service->AddMessageHandlerV2(std::make_shared<GetMediaCreationTypesHandler>(catalogues));
    service->AddMessageHandlerV2(std::make_shared<GetColorSpacesHandler>(catalogues));
    service->AddMessageHandlerV2(std::make_shared<GetS3DModesHandler>(catalogues));
    service->AddMessageHandlerV2(std::make_shared<MetadataTaskHandler>(settings, catalogues, log));
    service->AddMessageHandlerV2(std::make_shared<SwitchLoggingHandler>(log));
    return service;
}

void ReportMetadataWorkers(PlatformAbstraction::Messaging::BusMessaging& messaging,
                           const std::string& realm) {
    ReportWorkers(kCrew, messaging, realm);
}

}  // namespace Quillon::Farm
