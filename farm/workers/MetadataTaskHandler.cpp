#include "farm/workers/MetadataTaskHandler.h"

#include <stdexcept>
#include <utility>

#include "Core/src/SubmitOperations.h"
#include "farm/workers/QueryAnswers.h"
#include "farm/workers/SpendTime.h"

namespace Quillon::Farm {

MetadataTaskHandler::MetadataTaskHandler(WorkerSettings settings,
                                         std::shared_ptr<const Catalogues> catalogues,
                                         std::shared_ptr<const WorkerLog> log)
    : PerformTaskHandler(std::move(log)),
      m_settings(std::move(settings)),
      m_pCatalogues(std::move(catalogues)) {}

// The results come last, so that a task that was stopped has left none.
void MetadataTaskHandler::CarryOut(const Task& task,
                                   PlatformAbstraction::Messaging::BusMessaging& /*messaging*/) {
    if (Weftline::SubmitOperations::FindByEvalTaskKind(task.kind) == nullptr) {
        throw std::runtime_error("The metadata worker knows no task \"" + task.kind + "\".");
    }
    SpendTime(m_settings.taskTime, m_settings.stop);
    if (const QueryKind* const query = FindQueryKind(task.kind)) {
        StoreResults(query->place, task.jobId, query->answer(task.processingData, *m_pCatalogues));
    }
}

}  // namespace Quillon::Farm
