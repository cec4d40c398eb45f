#include "CoordinatorService.h"

#include "FarmProtocol.h"
#include "ForgetJobHandler.h"
#include "SetGlobalConfigDataHandler.h"
#include "TaskProgressHandler.h"
#include "Vocabulary.h"
#include "WorkerPoolStatusHandler.h"
#include "WorkerReportHandler.h"

namespace Quillon::Farm {

using PlatformAbstraction::Messaging::ServiceInfo;

std::shared_ptr<ServiceInfo> MakeCoordinatorService(const std::string& realm,
                                                    const std::shared_ptr<Coordinator>& coordinator) {
    auto service = std::make_shared<ServiceInfo>();
    service->SetNameRealmVersion(std::string(Weftline::ServiceNames::Coordinator), realm, kServiceVersion);
    service->AddMessageHandlerV2(std::make_shared<WorkerReportHandler>(coordinator));
    service->AddMessageHandlerV2(std::make_shared<TaskProgressHandler>(coordinator));
    service->AddMessageHandlerV2(std::make_shared<ForgetJobHandler>(coordinator));
    service->AddMessageHandlerV2(std::make_shared<WorkerPoolStatusHandler>(coordinator));
    service->AddMessageHandlerV2(std::make_shared<SetGlobalConfigDataHandler>());
    return service;
}

}  // namespace Quillon::Farm
