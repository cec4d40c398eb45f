#pragma once

#include <memory>

#include "Catalogues.h"
#include "PerformTaskHandler.h"
#include "WorkerSettings.h"

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
