#include "JobMonitorService.h"

#include "FindJobHandler.h"
#include "FindJobsByKindHandler.h"
#include "FindJobsHandler.h"
#include "JobManagerMessages.h"
#include "RemoveJobHandler.h"
#include "Vocabulary.h"

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
