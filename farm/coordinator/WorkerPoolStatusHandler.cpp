#include "farm/coordinator/WorkerPoolStatusHandler.h"

#include <utility>

#include "Core/src/Vocabulary.h"
#include "farm/coordinator/Coordinator.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
namespace Shared = Weftline::Keys;

namespace {

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

}  // namespace

WorkerPoolStatusHandler::WorkerPoolStatusHandler(std::shared_ptr<Coordinator> coordinator)
    : m_pCoordinator(std::move(coordinator)) {}

PlatformAbstraction::RegistrationParams WorkerPoolStatusHandler::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Weftline::Operations::WorkerPoolStatus))
        .SetDescription("What the workers are doing")
        .GetResult();
}

Parameters WorkerPoolStatusHandler::HandleMessageV2(
    const Parameters& /*request*/,
    std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> /*context*/) {
    Parameters answer;
    answer.AddEmptyArray(Shared::Results);
    for (const WorkerState& state : m_pCoordinator->Workers()) {
        answer.AddArrayChildParameters(Shared::Results, Describe(state));
    }
    return answer;
}

}  // namespace Quillon::Farm
