#pragma once

#include <memory>

#include "farm/workers/Catalogues.h"
#include "farm/workers/PerformTaskHandler.h"
#include "farm/workers/WorkerSettings.h"

namespace Quillon::Farm {

/// Carries out the evaluation of a job. Where the job is a query its results are then in the object store;
/// every other evaluation takes its time and leaves nothing.
class MetadataTaskHandler final : public PerformTaskHandler {
public:
    MetadataTaskHandler(WorkerSettings settings, std::shared_ptr<const Catalogues> catalogues,
                        std::shared_ptr<const WorkerLog> log);

private:
    void CarryOut(const Task& task, PlatformAbstraction::Messaging::BusMessaging& messaging) override;

    const WorkerSettings m_settings;
    const std::shared_ptr<const Catalogues> m_pCatalogues;
};

}  // namespace Quillon::Farm
