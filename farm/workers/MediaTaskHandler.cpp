#include "farm/workers/MediaTaskHandler.h"

#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>

#include "Core/src/JobKinds.h"
#include "Core/src/Vocabulary.h"
#include "farm/protocol/FarmProtocol.h"
#include "farm/workers/SpendTime.h"

namespace Quillon::Farm {

using PlatformAbstraction::Messaging::BusMessaging;
using PlatformAbstraction::Messaging::ServiceMessageDispatch;

namespace {

constexpr int kSteps = 10;

}  // namespace

MediaTaskHandler::MediaTaskHandler(WorkerSettings settings, std::shared_ptr<const WorkerLog> log)
    : PerformTaskHandler(std::move(log)), m_settings(std::move(settings)) {}

void MediaTaskHandler::CarryOut(const Task& task, BusMessaging& messaging) {
    if (Weftline::TaskDisplayName(task.kind).empty()) {
        throw std::runtime_error("The media worker knows no task \"" + task.kind + "\".");
    }
    for (int step = 1; step <= kSteps; ++step) {
        SpendTime(std::chrono::nanoseconds(m_settings.taskTime) / kSteps, m_settings.stop);
        TellProgress(task, step * 100 / kSteps, messaging);
    }
}

// Whether it arrives changes nothing for the task, so nobody waits for it.
void MediaTaskHandler::TellProgress(const Task& task, int percent, BusMessaging& messaging) const {
    ServiceMessageDispatch progress(std::string(Weftline::ServiceNames::Coordinator), m_settings.realm,
                                    kServiceVersion, std::string(Operations::TaskProgress));
    progress.parameters.SetParameter(Keys::JobId, task.jobId);
    progress.parameters.SetParameter(Weftline::Keys::Progress, percent);
    messaging.SendNotification(progress);
}

}  // namespace Quillon::Farm
