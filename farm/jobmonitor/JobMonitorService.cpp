#include "farm/jobmonitor/JobMonitorService.h"

#include "Core/src/Vocabulary.h"
#include "farm/jobmonitor/FindJobHandler.h"
#include "farm/jobmonitor/FindJobsByKindHandler.h"
#include "farm/jobmonitor/FindJobsHandler.h"
#include "farm/jobmonitor/RemoveJobHandler.h"
#include "platform/jobmanager/JobManagerMessages.h"

namespace Quillon::Farm {

using PlatformAbstraction::Messaging::ServiceInfo;

std::shared_ptr<ServiceInfo> MakeJobMonitorService(const std::shared_ptr<JobDirectory>& jobs,
                                                   const std::string& coordinatorRealm) {
    auto service = std::make_shared<ServiceInfo>();
    service->SetNameRealmVersion(std::string(Weftline::ServiceNames::JobMonitor),
                                 std::string(Weftline::Realms::Global), CommonServices::kJobManagerVersion);
    service->AddMessageHandlerV2(std::make_shared<FindJobHandler>(jobs));
    service->AddMessageHandlerV2(std::make_shared<FindJobsHandler>(jobs));
    service->AddMessageHandlerV2(std::make_shared<FindJobsByKindHandler>(jobs));
    service->AddMessageHandlerV2(std::make_shared<RemoveJobHandler>(jobs, coordinatorRealm));
    return service;
}

}  // namespace Quillon::Farm
