#include "farm/workers/MediaWorkerService.h"

#include <chrono>
#include <stdexcept>
#include <utility>

#include "Core/src/SubmitOperations.h"
#include "Core/src/Vocabulary.h"
#include "farm/protocol/FarmProtocol.h"

namespace Quillon::Farm {

using PlatformAbstraction::Messaging::BusMessaging;
using PlatformAbstraction::Messaging::ServiceInfo;
using PlatformAbstraction::Messaging::ServiceMessageDispatch;

namespace {

constexpr WorkerCrew kCrew{Weftline::ServiceNames::MediaWorker, "media", false, 2};
constexpr int kSteps = 10;

/// Carries out a media task without media: lets the time of a task go by in steps, and after each tells the
/// coordinator by `taskProgress` how far it is.
class MediaTaskHandler final : public PerformTaskHandler {
public:
    explicit MediaTaskHandler(WorkerSettings settings) : PerformTaskHandler(kCrew, std::move(settings)) {}

private:
    void CarryOut(const Task& task, BusMessaging& messaging) override {
        if (Weftline::SubmitOperations::FindByMediaTaskKind(task.kind) == nullptr) {
            throw std::runtime_error("The media worker knows no task \"" + task.kind + "\".");
        }
        for (int step = 1; step <= kSteps; ++step) {
            SpendTime(std::chrono::nanoseconds(GetSettings().taskTime) / kSteps);
            TellProgress(task, step * 100 / kSteps, messaging);
        }
    }

    // Whether it arrives changes nothing for the task, so nobody waits for it.
    void TellProgress(const Task& task, int percent, BusMessaging& messaging) const {
        ServiceMessageDispatch progress(std::string(Weftline::ServiceNames::Coordinator), GetSettings().realm,
                                        kServiceVersion, std::string(Operations::TaskProgress));
        progress.parameters.SetParameter(Keys::JobId, task.jobId);
        progress.parameters.SetParameter(Weftline::Keys::Progress, percent);
        messaging.SendNotification(progress);
    }
};

}  // namespace

std::shared_ptr<ServiceInfo> MakeMediaWorkerService(const WorkerSettings& settings) {
    return MakeWorkerService(kCrew, settings.realm, std::make_shared<MediaTaskHandler>(settings));
}

void ReportMediaWorkers(const WorkerSettings& settings, BusMessaging& messaging) {
    ReportWorkers(kCrew, settings, messaging);
}

}  // namespace Quillon::Farm
