#include "farm/jobmonitor/FindJobsByKindHandler.h"

#include <utility>

#include <algorithm>
#include <limits>

#include "Core/src/Vocabulary.h"
#include "farm/jobmonitor/JobAnswer.h"
#include "farm/jobmonitor/JobDirectory.h"
#include "farm/jobmonitor/JobPage.h"
#include "farm/protocol/FarmRequests.h"
#include "platform/jobmanager/JobManagerMessages.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
namespace Shared = Weftline::Keys;

FindJobsByKindHandler::FindJobsByKindHandler(std::shared_ptr<JobDirectory> jobs) : m_pJobs(std::move(jobs)) {}

PlatformAbstraction::RegistrationParams FindJobsByKindHandler::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(CommonServices::JobManagerOperations::FindJobsByKind))
        .SetDescription("Lists the jobs of a kind, the oldest first")
        .GetResult();
}

Parameters FindJobsByKindHandler::HandleMessageV2(
    const Parameters& request, std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> /*context*/) {
    const auto kind = RequiredValue<std::string>(request, Shared::Kind);
    const JobPage page = ReadJobPage(request);
    Parameters answer;
    answer.AddEmptyArray(Shared::Results);
    for (const ListedJob& job : m_pJobs->OfKind(kind, page.offset, page.limit)) {
        answer.AddArrayChildParameters(Shared::Results,
                                       DescribeJob(job.record, job.entry, m_pJobs->SubTasksOf(job.entry.id)));
    }
    constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
    answer.SetParameter(Shared::Limit, page.limit);
    answer.SetParameter(CommonServices::JobManagerKeys::Total,
                        static_cast<std::int32_t>(std::min(m_pJobs->CountOfKind(kind), kMost)));
    return answer;
}

}  // namespace Quillon::Farm
