#include "farm/workers/MetadataWorkerService.h"

#include <stdexcept>
#include <utility>

#include "Core/src/SubmitOperations.h"
#include "Core/src/Vocabulary.h"
#include "farm/workers/CatalogueHandlers.h"
#include "farm/workers/QueryAnswers.h"

namespace Quillon::Farm {

using PlatformAbstraction::Messaging::BusMessaging;
using PlatformAbstraction::Messaging::ServiceInfo;

namespace {

constexpr WorkerCrew kCrew{Weftline::ServiceNames::MetadataWorker, "metadata", true, 2};

/// Carries out the evaluation of a job. Where the job is a query its results are then in the object store;
/// every other evaluation takes its time and leaves nothing.
class MetadataTaskHandler final : public PerformTaskHandler {
public:
    MetadataTaskHandler(WorkerSettings settings, std::shared_ptr<const Catalogues> catalogues)
        : PerformTaskHandler(kCrew, std::move(settings)), m_pCatalogues(std::move(catalogues)) {}

private:
    // The results come last, so that a task that was stopped has left none.
    void CarryOut(const Task& task, BusMessaging& /*messaging*/) override {
        if (Weftline::SubmitOperations::FindByEvalTaskKind(task.kind) == nullptr) {
            throw std::runtime_error("The metadata worker knows no task \"" + task.kind + "\".");
        }
        SpendTime(GetSettings().taskTime);
        CheckIsWanted(task);
        StoreQueryResults(task.kind, task.jobId, task.processingData, *m_pCatalogues);
    }

    const std::shared_ptr<const Catalogues> m_pCatalogues;
};

template <class... Handlers>
void AddCatalogueHandlers(ServiceInfo& service, const std::shared_ptr<const Catalogues>& catalogues) {
    (service.AddMessageHandlerV2(std::make_shared<Handlers>(catalogues)), ...);
}

}  // namespace

std::shared_ptr<ServiceInfo> MakeMetadataWorkerService(const WorkerSettings& settings,
                                                       const std::string& catalogueDirectory) {
    const auto catalogues = std::make_shared<const Catalogues>(catalogueDirectory);
    auto service =
        MakeWorkerService(kCrew, settings.realm, std::make_shared<MetadataTaskHandler>(settings, catalogues));
    AddCatalogueHandlers<GetVideoFormatsHandler, GetAudioFormatsHandler, GetExportTypesHandler,
                         GetMediaCreationTypesHandler, GetColorSpacesHandler, GetS3DModesHandler>(*service,
                                                                                                  catalogues);
    return service;
}

void ReportMetadataWorkers(const WorkerSettings& settings, BusMessaging& messaging) {
    ReportWorkers(kCrew, settings, messaging);
}

}  // namespace Quillon::Farm
