#include "farm/LocalFarm.h"

#include <filesystem>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "farm/coordinator/Coordinator.h"
#include "farm/coordinator/CoordinatorService.h"
#include "farm/iam/IdentityService.h"
#include "farm/jobmonitor/JobDirectory.h"
#include "farm/jobmonitor/JobMonitorService.h"
#include "farm/workers/MediaWorkerService.h"
#include "farm/workers/MetadataWorkerService.h"
#include "platform/messaging/PlatformIdentifiers.h"
#include "platform/stores/StoreChoice.h"

namespace Quillon::Farm {

namespace Messaging = PlatformAbstraction::Messaging;
namespace Deployment = PlatformAbstraction::Deployment;

namespace {

// Beside the store's file, whose jobs it lists. A store elsewhere has its index where its file would lie.
std::string IndexPath() {
    namespace fs = std::filesystem;
    if (const std::string store = CommonServices::StoreChoice::EmbeddedPath(); !store.empty()) {
        return store + ".jobindex";
    }
    const fs::path root = fs::absolute(PlatformAbstraction::MetadataRootPath()).lexically_normal();
    const fs::path directory = root.parent_path() / "Store";
    fs::create_directories(directory);
    return (directory / "farm.jobindex").string();
}

std::vector<Principal> PrincipalsOf(const std::vector<PlatformAbstraction::Rest::Caller>& callers) {
    std::vector<Principal> principals;
    principals.reserve(callers.size());
    for (const auto& caller : callers) {
        principals.push_back({caller.identityId, caller.displayName});
    }
    return principals;
}

class LocalFarm final : public Deployment::AttachedFarm {
public:
    LocalFarm(const Deployment::BusSettings& settings, std::string realm)
        : m_settings(settings),
          m_realm(std::move(realm)),
          m_pPrincipals(std::make_shared<PrincipalDirectory>(PrincipalsOf(settings.rest.callers))),
          m_pJobs(std::make_shared<JobDirectory>(IndexPath())),
          m_pCoordinator(std::make_shared<Coordinator>(m_realm)) {}
    LocalFarm(const LocalFarm&) = delete;
    LocalFarm& operator=(const LocalFarm&) = delete;
    ~LocalFarm() override { Stop(); }

    void Start(Messaging::MessageBus& bus) {
        const WorkerSettings workers{m_realm, m_settings.farm.taskTime, m_workersStop.get_token()};
        // All are made before the first is attached: one that cannot be made stops the start.
        const auto services = {
            MakeIdentityService(m_pPrincipals),
            MakeJobMonitorService(m_pJobs),
            MakeCoordinatorService(m_realm, m_pCoordinator),
            MakeMetadataWorkerService(workers, m_settings.farm.catalogueDirectory),
            MakeMediaWorkerService(workers),
        };
        for (const auto& service : services) {
            bus.Attach(service);
        }
        const auto messaging = bus.GetMessaging();
        m_pCoordinator->Start(messaging);
        ReportMetadataWorkers(*messaging, m_realm);
        ReportMediaWorkers(*messaging, m_realm);
        m_indexFollower = std::jthread([jobs = m_pJobs](const std::stop_token& stop) { jobs->Follow(stop); });
    }

    void SetCallers(const std::vector<PlatformAbstraction::Rest::Caller>& callers) override {
        m_pPrincipals->Replace(PrincipalsOf(callers));
    }

    // The coordinator first: from then on it takes no task that ends for a failed one.
    void Stop() noexcept override {
        m_indexFollower.request_stop();
        m_pCoordinator->Stop();
        m_workersStop.request_stop();
        if (m_indexFollower.joinable()) {
            m_indexFollower.join();
        }
    }

private:
    const Deployment::BusSettings m_settings;
    const std::string m_realm;
    const std::shared_ptr<PrincipalDirectory> m_pPrincipals;
    const std::shared_ptr<JobDirectory> m_pJobs;
    const std::shared_ptr<Coordinator> m_pCoordinator;
    std::stop_source m_workersStop;
    std::jthread m_indexFollower;
};

}  // namespace

std::shared_ptr<Deployment::AttachedFarm> StartLocalFarm(Messaging::MessageBus& bus,
                                                         const Deployment::BusSettings& settings,
                                                         const Messaging::ServiceInfoApi& service) {
    auto farm = std::make_shared<LocalFarm>(settings, service.GetRealm());
    farm->Start(bus);
    return farm;
}

}  // namespace Quillon::Farm
