#include "farm/coordinator/TaskProgressHandler.h"

#include <utility>

#include "Core/src/Vocabulary.h"
#include "farm/coordinator/Coordinator.h"
#include "farm/protocol/FarmProtocol.h"
#include "farm/protocol/FarmRequests.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
namespace Shared = Weftline::Keys;

TaskProgressHandler::TaskProgressHandler(std::shared_ptr<Coordinator> coordinator)
    : m_pCoordinator(std::move(coordinator)) {}

PlatformAbstraction::RegistrationParams TaskProgressHandler::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Operations::TaskProgress))
        .SetDescription("A worker tells how far it is")
        .GetResult();
}

Parameters TaskProgressHandler::HandleMessageV2(
    const Parameters& request, std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> /*context*/) {
    m_pCoordinator->TellProgress(RequiredValue<std::string>(request, Keys::JobId),
                                 RequiredValue<std::int32_t>(request, Shared::Progress));
    return {};
}

}  // namespace Quillon::Farm
