#include "handlers/admin/WorkerPoolStatusHandler.h"

#include <utility>

#include "Core/src/Vocabulary.h"
#include "handlers/admin/WorkerPoolInfo.h"
#include "handlers/support/ServiceQueries.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;
using PlatformAbstraction::RegistrationParams;
using PlatformAbstraction::RegParamsBuilder;
using PlatformAbstraction::Messaging::MessageContext;

WorkerPoolStatusHandler::WorkerPoolStatusHandler(std::string realm) : m_realm(std::move(realm)) {}

RegistrationParams WorkerPoolStatusHandler::GetRegistrationParams() const {
    const std::string name(Operations::WorkerPoolStatus);
    return RegParamsBuilder()
        .SetName(name)
        .SetDescription("Gets the status of the pool of workers that have reported in.")
        .SetRESTPath(name)
        .AddExample({name, {}})
        .GetResult();
}

Parameters WorkerPoolStatusHandler::HandleMessageV2(const Parameters& /*request*/,
                                                    std::shared_ptr<MessageContext> context) {
    const Parameters report =
        QueryCoordinatorService(context, m_realm, std::string(Operations::WorkerPoolStatus), Parameters());
    const WorkerPoolInfo info = MakeWorkerPoolInfo(ReadWorkerStatusRecords(report));
    Parameters answer;
    answer.SetChildParameters(Keys::Results, WriteWorkerPoolInfo(info));
    return answer;
}

}  // namespace Weftline::Services::Scheduler
