#include "farm/jobmonitor/FindJobsHandler.h"

#include <utility>

#include "Core/src/Vocabulary.h"
#include "farm/jobmonitor/JobAnswer.h"
#include "farm/jobmonitor/JobDirectory.h"
#include "farm/jobmonitor/JobPage.h"
#include "farm/protocol/FarmRequests.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
namespace Shared = Weftline::Keys;

namespace {

// An empty tree where the key is missing.
Parameters ReadChild(const Parameters& tree, std::string_view key) {
    Parameters child;
    if (tree.HasParameter(key) && (!tree.GetChildParameters(key, child) || child.IsArray())) {
        throw PlatformAbstraction::Messaging::BadRequestHandlerError("\"" + std::string(key) +
                                                                     "\" is of the wrong type");
    }
    return child;
}

bool IsNull(const Parameters& tree, std::string_view key) {
    Parameters null;
    null.SetParameterNull(key);
    Parameters value;
    return value.CopyValue(tree, key, key) && value == null;
}

JobFilter ReadFilter(const Parameters& request) {
    const Parameters body = ReadChild(request, Shared::Body);
    JobFilter filter;
    if (body.HasParameter(Shared::CreatedBy)) {
        filter.creator = RequiredValue<std::string>(ReadChild(body, Shared::CreatedBy), Shared::IdentityId);
    }
    if (body.HasParameter(Shared::Parent)) {
        const Parameters parent = ReadChild(body, Shared::Parent);
        filter.parent =
            IsNull(parent, Shared::Id) ? std::string() : RequiredValue<std::string>(parent, Shared::Id);
    }
    return filter;
}

}  // namespace

FindJobsHandler::FindJobsHandler(std::shared_ptr<JobDirectory> jobs) : m_pJobs(std::move(jobs)) {}

PlatformAbstraction::RegistrationParams FindJobsHandler::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Weftline::Operations::FindJobs))
        .SetDescription("Lists jobs, the newest first")
        .GetResult();
}

Parameters FindJobsHandler::HandleMessageV2(
    const Parameters& request, std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> /*context*/) {
    Parameters answer;
    answer.AddEmptyArray(Shared::Results);
    const JobPage page = ReadJobPage(request);
    for (const ListedJob& job : m_pJobs->Newest(ReadFilter(request), page.offset, page.limit)) {
        answer.AddArrayChildParameters(Shared::Results, DescribeJob(job.record, job.entry));
    }
    return answer;
}

}  // namespace Quillon::Farm
