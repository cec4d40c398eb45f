#include "farm/coordinator/WorkerReportHandler.h"

#include <utility>

#include "Core/src/Vocabulary.h"
#include "farm/coordinator/Coordinator.h"
#include "farm/protocol/FarmProtocol.h"
#include "farm/protocol/FarmRequests.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
namespace Shared = Weftline::Keys;

WorkerReportHandler::WorkerReportHandler(std::shared_ptr<Coordinator> coordinator)
    : m_pCoordinator(std::move(coordinator)) {}

PlatformAbstraction::RegistrationParams WorkerReportHandler::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Operations::WorkerReport))
        .SetDescription("A worker reports in")
        .GetResult();
}

Parameters WorkerReportHandler::HandleMessageV2(
    const Parameters& request, std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> /*context*/) {
    m_pCoordinator->ReportWorker({RequiredValue<std::string>(request, Shared::Id),
                                  RequiredValue<std::string>(request, Shared::Machine),
                                  RequiredValue<std::string>(request, Shared::Tag),
                                  RequiredValue<std::string>(request, Shared::WorkerKind),
                                  RequiredValue<bool>(request, Shared::MetadataOnly),
                                  RequiredValue<std::int32_t>(request, Shared::ProcessID)});
    return {};
}

}  // namespace Quillon::Farm
