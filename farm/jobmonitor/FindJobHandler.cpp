#include "farm/jobmonitor/FindJobHandler.h"

#include <utility>

#include "Core/src/Vocabulary.h"
#include "farm/jobmonitor/JobAnswer.h"
#include "farm/jobmonitor/JobDirectory.h"
#include "farm/protocol/FarmRequests.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
namespace Shared = Weftline::Keys;

FindJobHandler::FindJobHandler(std::shared_ptr<JobDirectory> jobs) : m_pJobs(std::move(jobs)) {}

PlatformAbstraction::RegistrationParams FindJobHandler::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Weftline::Operations::FindJob))
        .SetDescription("Finds a job by its client key")
        .GetResult();
}

Parameters FindJobHandler::HandleMessageV2(
    const Parameters& request, std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> /*context*/) {
    const auto clientKey = RequiredValue<std::string>(request, Shared::ClientKey);
    const auto job = m_pJobs->Find(clientKey);
    if (!job) {
        throw PlatformAbstraction::Messaging::ResourceNotFoundHandlerError("There is no job \"" + clientKey +
                                                                           "\"");
    }
    Parameters answer;
    answer.SetChildParameters(Shared::Body, DescribeJob(job->record, job->entry));
    return answer;
}

}  // namespace Quillon::Farm
