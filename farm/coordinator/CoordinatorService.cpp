#include "farm/coordinator/CoordinatorService.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Core/src/Vocabulary.h"
#include "base/concurrency/Mutex.h"
#include "base/log/PlatformLog.h"
#include "farm/coordinator/Coordinator.h"
#include "farm/protocol/FarmProtocol.h"
#include "farm/protocol/FarmRequests.h"
#include "platform/messaging/RegistrationParams.h"
#include "platform/messaging/ServiceMessageHandler.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
using PlatformAbstraction::RegistrationParams;
using PlatformAbstraction::Messaging::MessageContext;
using PlatformAbstraction::Messaging::ServiceInfo;
namespace Shared = Weftline::Keys;

namespace {

/// One message of the coordinator: its name, what it is for, and the function that answers it.
class CoordinatorHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    using Answer = std::function<Parameters(const Parameters& request)>;

    CoordinatorHandler(std::string_view name, const char* description, Answer answer)
        : m_name(name), m_description(description), m_answer(std::move(answer)) {}

    RegistrationParams GetRegistrationParams() const override {
        return PlatformAbstraction::RegParamsBuilder()
            .SetName(m_name)
            .SetDescription(m_description)
            .GetResult();
    }
    Parameters HandleMessageV2(const Parameters& request, std::shared_ptr<MessageContext>) override {
        return m_answer(request);
    }

private:
    const std::string m_name;
    const std::string m_description;
    const Answer m_answer;
};

// From now on the worker gets tasks.
Parameters ReportWorker(Coordinator& coordinator, const Parameters& request) {
    Worker worker{RequiredValue<std::string>(request, Shared::Id),
                  RequiredValue<std::string>(request, Shared::Machine),
                  RequiredValue<std::string>(request, Shared::Tag),
                  RequiredValue<std::string>(request, Shared::WorkerKind),
                  RequiredValue<bool>(request, Shared::MetadataOnly),
                  RequiredValue<std::int32_t>(request, Shared::ProcessID),
                  ValueOr(request, Keys::TaskRealm, std::string())};
    if (request.HasParameter(Keys::JobIds)) {
        std::vector<std::string>& jobIds = worker.jobIds.emplace(request.GetArrayNumValues(Keys::JobIds));
        for (std::size_t n = 0; n < jobIds.size(); ++n) {
            request.GetArrayNthValue(Keys::JobIds, n, jobIds[n]);
        }
    }
    coordinator.ReportWorker(worker);
    return {};
}

Parameters TellProgress(Coordinator& coordinator, const Parameters& request) {
    coordinator.TellProgress(RequiredValue<std::string>(request, Keys::JobId),
                             RequiredValue<std::int32_t>(request, Shared::Progress));
    return {};
}

Parameters Describe(const WorkerState& state) {
    Parameters row;
    row.SetParameter(Shared::Id, state.worker.id);
    row.SetParameter(Shared::Status, state.taskKind.empty() ? "Idle" : "Busy");
    row.SetParameter(Shared::Task, state.taskKind);
    row.SetParameter(Shared::User, state.user);
    row.SetParameter(Shared::Machine, state.worker.machine);
    row.SetParameter(Shared::Tag, state.worker.tag);
    row.SetParameter(Shared::WorkerKind, state.worker.service);
    row.SetParameter(Shared::MetadataOnly, state.worker.metadataOnly);
    row.SetParameter(Shared::ProcessID, state.worker.processId);
    row.SetParameter(Shared::Time, state.since);
    return row;
}

Parameters ListWorkers(const Coordinator& coordinator) {
    Parameters answer;
    answer.AddEmptyArray(Shared::Results);
    for (const WorkerState& state : coordinator.Workers()) {
        answer.AddArrayChildParameters(Shared::Results, Describe(state));
    }
    return answer;
}

/// Configuration that is meant for the whole farm. No worker here has a use for it, so it is kept and shown
/// to the operator: each message is a line in the log with all that has been set so far. Thread-safe.
class GlobalConfig {
public:
    Parameters Set(const Parameters& request) {
        const PlatformAbstraction::MutexLock lock(m_mutex);
        for (const std::string& key : request.GetTopLevelParameterNames()) {
            m_config.CopyValue(request, key, key);
        }
        PlatformAbstraction::Log::Info("Configuration for the whole farm: " + m_config.toJSON());
        return {};
    }

private:
    PlatformAbstraction::Mutex m_mutex;
    Parameters m_config QUILLON_GUARDED_BY(m_mutex);
};

}  // namespace

std::shared_ptr<ServiceInfo> MakeCoordinatorService(const std::string& realm,
                                                    const std::shared_ptr<Coordinator>& coordinator) {
    auto service = std::make_shared<ServiceInfo>();
    service->SetNameRealmVersion(std::string(Weftline::ServiceNames::Coordinator), realm, kServiceVersion);
    const auto add = [&service](std::string_view name, const char* description, auto answer) {
        service->AddMessageHandlerV2(
            std::make_shared<CoordinatorHandler>(name, description, std::move(answer)));
    };
    add(Operations::WorkerReport, "A worker reports in",
        [coordinator](const Parameters& request) { return ReportWorker(*coordinator, request); });
    add(Operations::TaskProgress, "A worker tells how far it is",
        [coordinator](const Parameters& request) { return TellProgress(*coordinator, request); });
    add(Weftline::Operations::WorkerPoolStatus, "What the workers are doing",
        [coordinator](const Parameters&) { return ListWorkers(*coordinator); });
    add(Weftline::Operations::SetGlobalConfigData, "Sets configuration for the whole farm",
        [config = std::make_shared<GlobalConfig>()](const Parameters& request) {
            return config->Set(request);
        });
    return service;
}

}  // namespace Quillon::Farm
