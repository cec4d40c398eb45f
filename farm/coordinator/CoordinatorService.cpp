#include "farm/coordinator/CoordinatorService.h"

#include "Core/src/Vocabulary.h"
#include "farm/coordinator/ForgetJobHandler.h"
#include "farm/coordinator/SetGlobalConfigDataHandler.h"
#include "farm/coordinator/TaskProgressHandler.h"
#include "farm/coordinator/WorkerPoolStatusHandler.h"
#include "farm/coordinator/WorkerReportHandler.h"
#include "farm/protocol/FarmProtocol.h"

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
