#include "farm/LocalFarm.h"

#include <chrono>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "farm/coordinator/Coordinator.h"
#include "farm/coordinator/CoordinatorService.h"
#include "farm/coordinator/CoordinatorTurns.h"
#include "farm/iam/IdentityService.h"
#include "farm/jobmonitor/JobDirectory.h"
#include "farm/jobmonitor/JobMonitorService.h"
#include "farm/protocol/Pause.h"
#include "farm/workers/MediaWorkerService.h"
#include "farm/workers/MetadataWorkerService.h"
#include "platform/messaging/PlatformIdentifiers.h"
#include "platform/stores/StoreChoice.h"

namespace Quillon::Farm {

namespace Messaging = PlatformAbstraction::Messaging;
namespace Deployment = PlatformAbstraction::Deployment;
namespace fs = std::filesystem;

namespace {

// Of reports to a coordinator that may be a new one.
constexpr std::chrono::milliseconds kReportEvery{1000};

// Where the store is elsewhere its file would lie.
fs::path StoreDirectory() {
    const fs::path root = fs::absolute(PlatformAbstraction::MetadataRootPath()).lexically_normal();
    const fs::path directory = root.parent_path() / "Store";
    fs::create_directories(directory);
    return directory;
}

// The index lies beside the store's file, whose jobs it lists. Of a store elsewhere there may be several
// farms on this machine, each with an index of its own: the first that no other has open.
std::shared_ptr<JobDirectory> OpenIndex() {
    if (const std::string store = CommonServices::StoreChoice::EmbeddedPath(); !store.empty()) {
        return std::make_shared<JobDirectory>(store + ".jobindex");
    }
    constexpr int kMostFarms = 64;
    const fs::path directory = StoreDirectory();
    for (int number = 1;; ++number) {
        const std::string name = number == 1 ? "farm" : "farm-" + std::to_string(number);
        try {
            return std::make_shared<JobDirectory>((directory / (name + ".jobindex")).string());
        } catch (const JobIndexInUse&) {
            if (number == kMostFarms) {
                throw;
            }
        }
    }
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
          m_pJobs(OpenIndex()) {}
    LocalFarm(const LocalFarm&) = delete;
    LocalFarm& operator=(const LocalFarm&) = delete;
    ~LocalFarm() override { Stop(); }

    void Start(Messaging::MessageBus& bus) {
        const WorkerSettings workers{
            m_realm, m_settings.farm.taskTime, m_workersStop.get_token(),
            m_settings.farm.isShared ? std::make_shared<FarmPresence>(m_realm) : nullptr};
        // All are made before the first is attached: one that cannot be made stops the start.
        const auto metadataWorker = MakeMetadataWorkerService(workers, m_settings.farm.catalogueDirectory);
        const auto mediaWorker = MakeMediaWorkerService(workers);
        for (const auto& service : {MakeIdentityService(m_pPrincipals), MakeJobMonitorService(m_pJobs),
                                    metadataWorker, mediaWorker}) {
            bus.Attach(service);
        }
        if (workers.presence) {
            bus.Attach(ForThisFarm(*metadataWorker, *workers.presence));
            bus.Attach(ForThisFarm(*mediaWorker, *workers.presence));
            CoordinateInTurns(bus, workers);
        } else {
            CoordinateAlone(bus, workers);
        }
        m_indexFollower = std::jthread([jobs = m_pJobs](const std::stop_token& stop) { jobs->Follow(stop); });
    }

    void SetCallers(const std::vector<PlatformAbstraction::Rest::Caller>& callers) override {
        m_pPrincipals->Replace(PrincipalsOf(callers));
    }

    // The coordinator first: from then on it takes no task that ends for a failed one.
    void Stop() noexcept override {
        m_indexFollower.request_stop();
        if (m_pCoordinator) {
            m_pCoordinator->Stop();
        }
        if (m_turns) {
            m_turns->Stop();
        }
        m_workersStop.request_stop();
        for (std::jthread* const thread : {&m_reporter, &m_indexFollower}) {
            thread->request_stop();
            if (thread->joinable()) {
                thread->join();
            }
        }
    }

private:
    static void ReportAll(const WorkerSettings& workers, Messaging::BusMessaging& messaging) {
        ReportMetadataWorkers(workers, messaging);
        ReportMediaWorkers(workers, messaging);
    }

    void CoordinateAlone(Messaging::MessageBus& bus, const WorkerSettings& workers) {
        m_pCoordinator = std::make_shared<Coordinator>(m_realm);
        bus.Attach(MakeCoordinatorService(m_realm, m_pCoordinator));
        m_pCoordinator->Start(bus.GetMessaging());
        ReportAll(workers, *bus.GetMessaging());
    }

    void CoordinateInTurns(Messaging::MessageBus& bus, const WorkerSettings& workers) {
        m_turns.emplace(m_realm, WorkerPatience(), LeaseTimes());
        m_turns->Start(bus);
        m_reporter = std::jthread([workers, messaging = bus.GetMessaging()](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                ReportAll(workers, *messaging);
                PauseUnlessStopped(kReportEvery, stop);
            }
        });
    }

    const Deployment::BusSettings m_settings;
    const std::string m_realm;
    const std::shared_ptr<PrincipalDirectory> m_pPrincipals;
    const std::shared_ptr<JobDirectory> m_pJobs;
    std::shared_ptr<Coordinator> m_pCoordinator;  // where this is the only farm
    std::optional<CoordinatorTurns> m_turns;      // where it is not
    std::stop_source m_workersStop;
    std::jthread m_reporter;
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
