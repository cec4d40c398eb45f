#pragma once

#include <memory>

#include "farm/workers/PerformTaskHandler.h"
#include "farm/workers/WorkerSettings.h"

namespace Quillon::Farm {

/// Carries out a media task without media: lets the time of a task go by in steps, and after each tells the
/// coordinator by `taskProgress` how far it is.
class MediaTaskHandler final : public PerformTaskHandler {
public:
    MediaTaskHandler(WorkerSettings settings, std::shared_ptr<const WorkerLog> log);

private:
    void CarryOut(const Task& task, PlatformAbstraction::Messaging::BusMessaging& messaging) override;
    void TellProgress(const Task& task, int percent,
                      PlatformAbstraction::Messaging::BusMessaging& messaging) const;

    const WorkerSettings m_settings;
};

}  // namespace Quillon::Farm
