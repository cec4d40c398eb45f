#include "farm/coordinator/ForgetJobHandler.h"

#include <utility>

#include "Core/src/Vocabulary.h"
#include "farm/coordinator/Coordinator.h"
#include "farm/protocol/FarmProtocol.h"
#include "farm/protocol/FarmRequests.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
namespace Shared = Weftline::Keys;

ForgetJobHandler::ForgetJobHandler(std::shared_ptr<Coordinator> coordinator)
    : m_pCoordinator(std::move(coordinator)) {}

PlatformAbstraction::RegistrationParams ForgetJobHandler::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Operations::ForgetJob))
        .SetDescription("Writes nothing about a job any more")
        .GetResult();
}

Parameters ForgetJobHandler::HandleMessageV2(
    const Parameters& request, std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> /*context*/) {
    const auto jobId = RequiredValue<std::string>(request, Shared::Id);
    m_pCoordinator->ForgetJob(jobId);
    Parameters answer;
    answer.SetParameter(Shared::Id, jobId);
    return answer;
}

}  // namespace Quillon::Farm
