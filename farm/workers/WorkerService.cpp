#include "farm/workers/WorkerService.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <exception>
#include <utility>

#include "Core/src/JobKinds.h"
#include "Core/src/SubmitOperations.h"
#include "Core/src/Vocabulary.h"
#include "base/concurrency/BlockingRegion.h"
#include "base/log/PlatformLog.h"
#include "farm/protocol/FarmProtocol.h"
#include "farm/protocol/FarmRequests.h"
#include "farm/protocol/LeaseNumber.h"
#include "farm/protocol/Pause.h"
#include "platform/messaging/MessageAnswer.h"
#include "platform/messaging/RegistrationParams.h"
#include "platform/stores/ObjectStore.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
using PlatformAbstraction::RegistrationParams;
using PlatformAbstraction::RegParamsBuilder;
using PlatformAbstraction::Messaging::MessageContext;
using PlatformAbstraction::Messaging::ServiceInfo;
using PlatformAbstraction::Messaging::ServiceMessageDispatch;
namespace Log = PlatformAbstraction::Log;
namespace Messaging = PlatformAbstraction::Messaging;
namespace Shared = Weftline::Keys;

/// What a worker service says of its work: to the operator's log while remote logging is on, else only to
/// those who watch at the level "debug". Shared by the handlers of one service. Thread-safe.
class WorkerLog {
public:
    explicit WorkerLog(std::string_view service) : m_service(service) {}

    void Switch(bool on) {
        m_isOn = on;
        Log::Info(m_service + ": remote logging is " + (on ? "on" : "off"));
    }
    void Tell(std::string_view text) const {
        const std::string line = m_service + ": " + std::string(text);
        if (m_isOn) {
            Log::Info(line);
        } else {
            Log::Debug(line);
        }
    }

private:
    const std::string m_service;
    std::atomic<bool> m_isOn = false;
};

namespace {

/// Answers `remoteLogging`: `turnOnRemoteLogging` switches the log of the worker on, its absence off.
class SwitchLoggingHandler final : public Messaging::ServiceMessageHandlerV2 {
public:
    explicit SwitchLoggingHandler(std::shared_ptr<WorkerLog> log) : m_pLog(std::move(log)) {}

    RegistrationParams GetRegistrationParams() const override {
        Parameters example;
        example.SetParameter(Shared::TurnOnRemoteLogging, true);
        return RegParamsBuilder()
            .SetName(std::string(Weftline::Operations::RemoteLogging))
            .SetDescription("Turns what the worker tells of its tasks on or off")
            .AddExample({"turn remote logging on", std::move(example)})
            .GetResult();
    }
    Parameters HandleMessageV2(const Parameters& request,
                               std::shared_ptr<MessageContext> /*context*/) override {
        bool on = false;
        request.GetParameter(Shared::TurnOnRemoteLogging, on);
        m_pLog->Switch(on);
        return {};
    }

private:
    const std::shared_ptr<WorkerLog> m_pLog;
};

Task ReadTask(const Parameters& request) {
    return {RequiredValue<std::string>(request, Keys::JobId), ValueOr(request, Keys::WorkerId, std::string()),
            RequiredValue<std::string>(request, Keys::TaskKind), ReadLeaseNumber(request),
            request.GetChildParameters(Shared::ProcessingData)};
}

std::string MachineName() {
    constexpr std::size_t kLongestHostName = 255;
    std::array<char, kLongestHostName + 1> name{};
    return ::gethostname(name.data(), kLongestHostName) == 0 ? name.data() : "localhost";
}

ServiceMessageDispatch MakeReport(const WorkerCrew& crew, int number, const std::string& machine,
                                  const WorkerSettings& settings) {
    ServiceMessageDispatch report(std::string(Weftline::ServiceNames::Coordinator), settings.realm,
                                  kServiceVersion, std::string(Operations::WorkerReport));
    std::string id = machine + "/" + std::string(crew.service) + "/" + std::to_string(number);
    if (settings.presence) {
        id += "/" + settings.presence->Id();
        report.parameters.SetParameter(Keys::TaskRealm, settings.presence->TaskRealm());
        report.parameters.AddEmptyArray(Keys::JobIds);
        for (const std::string& job : settings.presence->JobsOf(id)) {
            report.parameters.AddArrayParameter(Keys::JobIds, job);
        }
    }
    report.parameters.SetParameter(Shared::Id, id);
    report.parameters.SetParameter(Shared::Machine, machine);
    report.parameters.SetParameter(Shared::Tag, crew.tag);
    report.parameters.SetParameter(Shared::WorkerKind, crew.service);
    report.parameters.SetParameter(Shared::MetadataOnly, crew.metadataOnly);
    report.parameters.SetParameter(Shared::ProcessID, static_cast<std::int32_t>(::getpid()));
    return report;
}

}  // namespace

PerformTaskHandler::PerformTaskHandler(const WorkerCrew& crew, WorkerSettings settings)
    : m_settings(std::move(settings)), m_pLog(std::make_shared<WorkerLog>(crew.service)) {}

RegistrationParams PerformTaskHandler::GetRegistrationParams() const {
    Parameters example;
    example.SetParameter(Keys::JobId, "c38c9b22-8000-440a-8f25-4a5a6907da19");
    example.SetParameter(Keys::TaskKind, Weftline::SubmitOperations::kTranscode.mediaTask.kind);
    example.SetChildParameters(Shared::ProcessingData, Parameters());
    return RegParamsBuilder()
        .SetName(std::string(Operations::PerformTask))
        .SetDescription("Carries out one task of a job")
        .AddExample({"carry out a task", std::move(example)})
        .GetResult();
}

Parameters PerformTaskHandler::HandleMessageV2(const Parameters& request,
                                               std::shared_ptr<MessageContext> context) {
    const Task task = ReadTask(request);
    const std::string about = "task \"" + task.kind + "\" of the job " + task.jobId;
    const FarmPresence::AtWork atWork(m_settings.presence.get(), task.workerId, task.jobId);
    m_pLog->Tell(about + " begins");
    try {
        CarryOut(task, *context->GetContextBusMessaging());
    } catch (const CommonServices::ObjectStoreException& failure) {
        m_pLog->Tell(about + " ends: " + failure.what());
        throw Messaging::MessageHandlerError(Messaging::kServiceStopping, failure.what());
    } catch (const std::exception& failure) {
        m_pLog->Tell(about + " ends: " + failure.what());
        throw;
    }
    m_pLog->Tell(about + " is done");
    return {};
}

void PerformTaskHandler::SpendTime(std::chrono::nanoseconds time) const {
    {
        const PlatformAbstraction::BlockingRegion region;
        PauseUnlessStopped(time, m_settings.stop);
    }
    if (m_settings.stop.stop_requested()) {
        throw Messaging::MessageHandlerError(Messaging::kServiceStopping,
                                             "The worker stops before the task is done.");
    }
}

void PerformTaskHandler::CheckIsWanted(const Task& task) {
    if (task.lease == 0) {
        return;
    }
    const auto job =
        CommonServices::ObjectStore().FindByID(task.jobId, std::string(Weftline::Collections::Jobs));
    std::string state;
    if (job) {
        Parameters::fromJSON(job->recordPublicData).GetParameter(Shared::JobState, state);
    }
    const bool isUnderWay = state == Weftline::JobStates::Readied || state == Weftline::JobStates::Tasked;
    if (!isUnderWay || ReadLeaseNumber(*job) != task.lease) {
        throw Messaging::MessageHandlerError(Messaging::kServiceStopping,
                                             "The task is wanted no more, or by another coordinator.");
    }
}

std::shared_ptr<ServiceInfo> MakeWorkerService(const WorkerCrew& crew, const std::string& realm,
                                               const std::shared_ptr<PerformTaskHandler>& tasks) {
    auto service = std::make_shared<ServiceInfo>();
    service->SetNameRealmVersion(std::string(crew.service), realm, kServiceVersion);
    service->AddMessageHandlerV2(tasks);
    service->AddMessageHandlerV2(std::make_shared<SwitchLoggingHandler>(tasks->GetLog()));
    return service;
}

std::shared_ptr<ServiceInfo> ForThisFarm(const ServiceInfo& service, const FarmPresence& presence) {
    auto own = std::make_shared<ServiceInfo>(service);
    own->SetNameRealmVersion(service.GetName(), presence.TaskRealm(), service.GetVersion());
    return own;
}

void ReportWorkers(const WorkerCrew& crew, const WorkerSettings& settings,
                   Messaging::BusMessaging& messaging) {
    const std::string machine = MachineName();
    for (int number = 1; number <= crew.size; ++number) {
        const auto report = MakeReport(crew, number, machine, settings);
        if (settings.presence) {
            messaging.BroadcastNotification(report);
            continue;
        }
        const auto sent = messaging.SendNotification(report);
        std::string code;
        std::string message;
        if (sent->GetErrorDetails(code, message)) {
            std::string text(crew.service);
            text.append(": worker ").append(std::to_string(number)).append(" could not report in: [");
            Log::Warning(text.append(code).append("] ").append(message));
        }
    }
}

}  // namespace Quillon::Farm
