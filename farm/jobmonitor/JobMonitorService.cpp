#include "farm/jobmonitor/JobMonitorService.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <utility>

#include "Core/src/Vocabulary.h"
#include "farm/jobmonitor/JobDirectory.h"
#include "farm/protocol/FarmProtocol.h"
#include "farm/protocol/FarmRequests.h"
#include "platform/jobmanager/JobManagerMessages.h"
#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/MessageAnswer.h"
#include "platform/messaging/RegistrationParams.h"
#include "platform/messaging/ServiceMessageHandler.h"

namespace Quillon::Farm {

using CoreServices::Parameters;
using PlatformAbstraction::RegistrationParams;
using PlatformAbstraction::Messaging::MessageContext;
using PlatformAbstraction::Messaging::ServiceInfo;
namespace Messaging = PlatformAbstraction::Messaging;
namespace Shared = Weftline::Keys;

namespace {

using ContextPointer = std::shared_ptr<MessageContext>;

/// One message of the monitor.
class MonitorHandler : public Messaging::ServiceMessageHandlerV2 {
public:
    MonitorHandler(std::string_view operation, std::string_view description,
                   std::shared_ptr<JobDirectory> jobs)
        : m_operation(operation), m_description(description), m_pJobs(std::move(jobs)) {}

    RegistrationParams GetRegistrationParams() const final {
        return PlatformAbstraction::RegParamsBuilder()
            .SetName(m_operation)
            .SetDescription(m_description)
            .GetResult();
    }

protected:
    JobDirectory& Jobs() const { return *m_pJobs; }

private:
    const std::string m_operation;
    const std::string m_description;
    const std::shared_ptr<JobDirectory> m_pJobs;
};

[[noreturn]] void FailForMissing(const std::string& jobId) {
    throw Messaging::ResourceNotFoundHandlerError("There is no job \"" + jobId + "\"");
}

// `offset` and `limit`, brought into bounds.
JobPage ReadJobPage(const Parameters& request, const MessageContext& context) {
    constexpr std::int32_t kUsualLimit = 100;
    constexpr std::int32_t kMostLimit = 1000;
    return {std::max(ValueOr(request, Shared::Offset, 0), 0),
            std::clamp(ValueOr(request, Shared::Limit, kUsualLimit), 0, kMostLimit),
            context.GetParentMessage()};
}

// An empty tree where the key is missing.
Parameters ReadChild(const Parameters& tree, std::string_view key) {
    Parameters child;
    if (tree.HasParameter(key) && (!tree.GetChildParameters(key, child) || child.IsArray())) {
        throw Messaging::BadRequestHandlerError("\"" + std::string(key) + "\" is of the wrong type");
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

/// Tells one job, found by its `clientKey`, as the tree `body`. A job that is not there is an error.
class FindJobHandler final : public MonitorHandler {
public:
    explicit FindJobHandler(std::shared_ptr<JobDirectory> jobs)
        : MonitorHandler(Weftline::Operations::FindJob, "Finds a job by its client key", std::move(jobs)) {}

    Parameters HandleMessageV2(const Parameters& request, ContextPointer /*context*/) override {
        const auto clientKey = RequiredValue<std::string>(request, Shared::ClientKey);
        const auto job = Jobs().Find(clientKey);
        if (!job) {
            FailForMissing(clientKey);
        }
        Parameters answer;
        answer.SetChildParameters(Shared::Body, DescribeJob(*job));
        return answer;
    }
};

/// Tells a page of the jobs, the newest first, as the array `results`. `body` may ask for the jobs of a
/// creator (`createdBy` with its `identityId`) and for those of a parent (`parent` with its `id`; null for
/// jobs that have none). A page has 100 jobs where `limit` does not say, and never more than 1000.
class FindJobsHandler final : public MonitorHandler {
public:
    explicit FindJobsHandler(std::shared_ptr<JobDirectory> jobs)
        : MonitorHandler(Weftline::Operations::FindJobs, "Lists jobs, the newest first", std::move(jobs)) {}

    Parameters HandleMessageV2(const Parameters& request, ContextPointer context) override {
        Parameters answer;
        answer.AddEmptyArray(Shared::Results);
        for (const ListedJob& job : Jobs().Newest(ReadFilter(request), ReadJobPage(request, *context))) {
            answer.AddArrayChildParameters(Shared::Results, DescribeJob(job));
        }
        return answer;
    }
};

/// Tells a page of the jobs of a `kind`, the oldest first, in the form of JobManagerMessages.h.
class FindJobsByKindHandler final : public MonitorHandler {
public:
    explicit FindJobsByKindHandler(std::shared_ptr<JobDirectory> jobs)
        : MonitorHandler(CommonServices::JobManagerOperations::FindJobsByKind,
                         "Lists the jobs of a kind, the oldest first", std::move(jobs)) {}

    Parameters HandleMessageV2(const Parameters& request, ContextPointer context) override {
        const auto kind = RequiredValue<std::string>(request, Shared::Kind);
        const JobPage page = ReadJobPage(request, *context);
        Parameters answer;
        answer.AddEmptyArray(Shared::Results);
        for (const ListedJob& job : Jobs().OfKind(kind, page)) {
            answer.AddArrayChildParameters(Shared::Results,
                                           DescribeJob(job, Jobs().SubTasksOf(job.entry.id)));
        }
        constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
        answer.SetParameter(Shared::Limit, page.limit);
        answer.SetParameter(CommonServices::JobManagerKeys::Total,
                            static_cast<std::int32_t>(std::min(Jobs().CountOfKind(kind), kMost)));
        return answer;
    }
};

/// Removes a job by its `id`, whatever its state: whoever is at it writes nothing more about it. The answer
/// has the `id`. A job that is not there is an error.
class RemoveJobHandler final : public MonitorHandler {
public:
    explicit RemoveJobHandler(std::shared_ptr<JobDirectory> jobs)
        : MonitorHandler(Weftline::Operations::RemoveJob, "Removes a job", std::move(jobs)) {}

    Parameters HandleMessageV2(const Parameters& request, ContextPointer /*context*/) override {
        const auto jobId = RequiredValue<std::string>(request, Shared::Id);
        if (!Jobs().Remove(jobId)) {
            FailForMissing(jobId);
        }
        Parameters answer;
        answer.SetParameter(Shared::Id, jobId);
        return answer;
    }
};

}  // namespace

std::shared_ptr<ServiceInfo> MakeJobMonitorService(const std::shared_ptr<JobDirectory>& jobs) {
    auto service = std::make_shared<ServiceInfo>();
    service->SetNameRealmVersion(std::string(Weftline::ServiceNames::JobMonitor),
                                 std::string(Weftline::Realms::Global), CommonServices::kJobManagerVersion);
    service->AddMessageHandlerV2(std::make_shared<FindJobHandler>(jobs));
    service->AddMessageHandlerV2(std::make_shared<FindJobsHandler>(jobs));
    service->AddMessageHandlerV2(std::make_shared<FindJobsByKindHandler>(jobs));
    service->AddMessageHandlerV2(std::make_shared<RemoveJobHandler>(jobs));
    return service;
}

}  // namespace Quillon::Farm
