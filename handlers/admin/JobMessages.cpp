#include "handlers/admin/JobMessages.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "Core/src/JobKinds.h"
#include "Core/src/SubmitOperations.h"
#include "Core/src/TreeValues.h"
#include "Core/src/Vocabulary.h"
#include "handlers/admin/PartTimeJobHandlers.h"
#include "handlers/support/ConsoleLines.h"
#include "handlers/support/HandlerDocumentation.h"
#include "platform/jobmanager/JobManagerMessages.h"
#include "platform/messaging/RegistrationParams.h"

namespace Weftline::Services::Scheduler {

using CommonServices::JobStatus;
using CoreServices::Parameters;
using PlatformAbstraction::HTTPMethod;
using PlatformAbstraction::RegistrationParams;
using PlatformAbstraction::RegParamsBuilder;
using PlatformAbstraction::Messaging::Blame;
using PlatformAbstraction::Messaging::MessageContext;
using PlatformAbstraction::Messaging::ServiceMessageResponse;

namespace {

using ContextPointer = std::shared_ptr<MessageContext>;

constexpr std::int32_t kMonitorPageSize = 100;
constexpr int kMostQueries = 10;
constexpr std::int32_t kDefaultLimit = 25;
constexpr std::int32_t kExampleLimit = 50;

/// What is still to be left out and to be taken of the jobs that pass.
struct ClientPage {
    std::int32_t itemCountOffset = 0;
    std::int32_t clientLimit = kDefaultLimit;
};

std::set<std::string> ReadKindFilter(const Parameters& request) {
    if (FlagOrFalse(request, Keys::KindIsWeftline)) {
        return WeftlineJobKinds();
    }
    std::set<std::string> kinds;
    const auto insert = [&kinds](std::string kind) {
        if (!kind.empty()) {
            kinds.insert(std::move(kind));
        }
    };
    const std::size_t count = request.GetArrayNumValues(Keys::Kinds);
    if (count == 0) {
        insert(TextOrEmpty(request, Keys::Kind));
    }
    for (std::size_t n = 0; n < count; ++n) {
        std::string kind;
        if (request.GetArrayNthValue(Keys::Kinds, n, kind)) {
            insert(std::move(kind));
        }
    }
    return kinds;
}

Parameters MakeMonitorFilter(const Parameters& request, const std::string& identityId) {
    Parameters filter;
    // Whoever is unknown has no jobs of his own, and sees all.
    if (!identityId.empty() && !FlagOrFalse(request, Keys::CreatedByAny)) {
        filter.SetChildParameters(Keys::CreatedBy, TreeOf({{Keys::IdentityId, identityId}}));
    }
    const std::string parentId = TextOrEmpty(request, Keys::ParentID);
    if (!parentId.empty()) {
        filter.SetChildParameters(Keys::Parent, TreeOf({{Keys::Id, parentId}}));
    } else if (FlagOrFalse(request, Keys::IsRoot)) {
        Parameters none;
        none.SetParameterNull(Keys::Id);
        filter.SetChildParameters(Keys::Parent, std::move(none));
    }
    return filter;
}

ClientPage ReadClientPage(const Parameters& request) {
    std::int32_t pageNumber = 0;
    request.GetParameter(Keys::Offset, pageNumber);
    ClientPage page;
    request.GetParameter(Keys::Limit, page.clientLimit);
    // The product keeps 32 bits, whatever the client sent; unsigned numbers may overflow.
    page.itemCountOffset = static_cast<std::int32_t>(static_cast<std::uint32_t>(page.clientLimit) *
                                                     static_cast<std::uint32_t>(pageNumber));
    return page;
}

Parameters GatherPage(const MessageContext& context, const Parameters& filter,
                      const std::set<std::string>& kinds, ClientPage page, bool logging) {
    // All pages go out under the one message, by which the monitor knows that they belong together.
    const auto busMessaging = context.GetContextBusMessaging();
    Parameters gathered;
    std::int32_t monitorOffset = 0;
    for (int query = 0; query < kMostQueries; ++query) {
        Parameters question = TreeOf({{Keys::Offset, monitorOffset}, {Keys::Limit, kMonitorPageSize}});
        question.SetChildParameters(Keys::Body, filter);
        const Parameters answer = PartTimeJobHandlers::DoOneQueryToJobMonitor(
            busMessaging, question, monitorOffset, kMonitorPageSize, logging);
        const auto count = static_cast<std::int32_t>(answer.GetArrayNumValues(Keys::Results));
        monitorOffset += count;
        const bool isEnough = PartTimeJobHandlers::AccumulateResults(
            kinds, gathered, answer, page.itemCountOffset, page.clientLimit, logging);
        if (isEnough || count < kMonitorPageSize) {
            break;
        }
    }
    return gathered;
}

Parameters ExampleOfSeveralKinds() {
    Parameters example;
    for (const std::string_view kind :
         {SubmitOperations::kRender.jobKind, SubmitOperations::kTranscode.jobKind,
          SubmitOperations::kConsolidate.jobKind}) {
        example.AddArrayParameter(Keys::Kinds, kind);
    }
    return example;
}

/// A job as far as its removal asks: its id, or why it is not to be removed.
struct RemovableJob {
    std::string failure;  ///< empty where the job may go
    std::string id;
    Blame blame = Blame::Service;  ///< for the failure
};

bool IsFinished(JobStatus status) {
    return status == JobStatus::Completed || status == JobStatus::Failed || status == JobStatus::Canceled;
}

/// The order of the checks is the clients' to rely on.
RemovableJob CheckFoundJob(const Parameters& found, const std::string& clientKey) {
    Parameters body;
    if (!found.GetChildParameters(Keys::Body, body)) {
        return {"failed to get body from theFindResults for clientKey: " + clientKey, {}};
    }
    if (TextOrEmpty(body, Keys::ClientKey) != clientKey) {
        return {"FindOneJobdid not find the correct job by clientKey", {}};
    }
    const std::string id = TextOrEmpty(body, Keys::Id);
    if (id.empty()) {
        return {"FindOneJob returned no job id????", {}};
    }
    const std::string status = TextOrEmpty(body, Keys::Status);
    if (!IsFinished(CommonServices::StrToJobStatus(status))) {
        return {"Found job had invalid status for deletion: " + status, {}, Blame::Conflict};
    }
    return {{}, id};
}

RemovableJob FindRemovableJob(const ContextPointer& context, const std::string& clientKey, bool logging) {
    const JobMonitorOutcome found = PartTimeJobHandlers::DoFindOneJob(context, clientKey, logging);
    if (logging) {
        PrintLine("removeJob - DoFindOneJob Results: " + found.results.debugString());
    }
    return found.errorText.empty() ? CheckFoundJob(found.results, clientKey)
                                   : RemovableJob{found.errorText, {}, found.blame};
}

/// As `JobMonitorOutcome`, whose failure is empty where the job is gone.
JobMonitorOutcome RemoveJob(const ContextPointer& context, const std::string& id, bool logging) {
    JobMonitorOutcome removed = PartTimeJobHandlers::DoRemoveJob(context, id, logging);
    if (logging) {
        PrintLine("removeJob - DoRemoveJob Results: " + removed.results.debugString());
    }
    // What the answer's keys say does not matter, but there has to be one.
    const bool hasKeys = !removed.results.IsArray() && !removed.results.IsEmpty();
    if (removed.errorText.empty() && !hasKeys) {
        removed.errorText = "DoRemoveJob was unable to removeJob and failed to provide any results";
    }
    return removed;
}

}  // namespace

RegistrationParams FindJobsEx::GetRegistrationParams() const {
    return RegParamsBuilder()
        .SetName("findJobsEx")
        .SetDescription("extended findJobs for client")
        .SetRESTPath("findJobsEx")
        .SetRESTMethod(HTTPMethod::Post)
        .AddExample({"find root jobs (no parent id)", TreeOf({{Keys::IsRoot, true}})})
        .AddExample({"find created by any (no identity filtering)", TreeOf({{Keys::CreatedByAny, true}})})
        .AddExample({"find by parent id", TreeOf({{Keys::ParentID, Placeholders::ParentId}})})
        .AddExample({"find by kind", TreeOf({{Keys::Kind, SubmitOperations::kConsolidate.jobKind}})})
        .AddExample({"find by several kinds", ExampleOfSeveralKinds()})
        .AddExample({"find Weftline kinds", TreeOf({{Keys::KindIsWeftline, true}})})
        .AddExample({"find with offset and limit",
                     TreeOf({{Keys::Limit, kExampleLimit}, {Keys::Offset, kExampleLimit}})})
        .AddExample({"find with lots of logging", TreeOf({{Keys::Logging, true}})})
        .GetResult();
}

bool FindJobsEx::HandleMessage(std::shared_ptr<MessageContext> context, const Parameters& request,
                               ServiceMessageResponse& response) {
    const bool logging = FlagOrFalse(request, Keys::Logging);
    if (logging) {
        PrintLine("findJobsEx - params: " + request.debugString());
    }
    const Parameters identity = PartTimeJobHandlers::ExtractIdentityIdFromMessage(context, logging);
    const Parameters filter = MakeMonitorFilter(request, TextOrEmpty(identity, Keys::IdentityId));
    Parameters results =
        GatherPage(*context, filter, ReadKindFilter(request), ReadClientPage(request), logging);
    if (logging) {
        PrintLine("findJobsEx final resultParams: " + results.debugString());
    }
    response.SetUseNestedJSONStringResults(false);
    response.AssignParameters(std::move(results));
    response.RespondOK();
    return true;
}

const std::set<std::string>& WeftlineJobKinds() {
    // Leaked on purpose: a handler may still be listing jobs while the process ends.
    static const auto* const kinds = new std::set<std::string>{
        std::string(SubmitOperations::kRender.jobKind),
        std::string(SubmitOperations::kTranscode.jobKind),
        std::string(SubmitOperations::kConsolidate.jobKind),
        std::string(SubmitOperations::kMixdown.jobKind),
        std::string(SubmitOperations::kExport.jobKind),
        std::string(SubmitOperations::kDataExtract.jobKind),
        std::string(SubmitOperations::kProxyCreation.jobKind),
        std::string(JobKinds::Relink),
        std::string(JobKinds::Procedure),
        std::string(JobKinds::AudioExtract),
        std::string(JobKinds::FileToFileConversion),
        std::string(JobKinds::SpeechToText),
    };
    return *kinds;
}

RegistrationParams RemoveJobEx::GetRegistrationParams() const {
    return RegParamsBuilder()
        .SetName("removeJobEx")
        .SetDescription(
            "remove a job from the job.monitor if it is in a completed state, must specify the clientKey "
            "value")
        .SetRESTPath("jobs/{clientKey}")
        .SetRESTMethod(HTTPMethod::Delete)
        .AddExample({"remove a completed job", TreeOf({{Keys::ClientKey, Placeholders::ClientKey}})})
        .GetResult();
}

bool RemoveJobEx::HandleMessage(std::shared_ptr<MessageContext> context, const Parameters& request,
                                ServiceMessageResponse& response) {
    const bool logging = FlagOrFalse(request, Keys::Logging);
    if (logging) {
        PrintLine("removeJob - params: " + request.debugString());
    }
    const RemovableJob job = FindRemovableJob(context, TextOrEmpty(request, Keys::ClientKey), logging);
    const JobMonitorOutcome removed = job.failure.empty() ? RemoveJob(context, job.id, logging)
                                                          : JobMonitorOutcome{job.failure, {}, job.blame};
    if (removed.errorText.empty()) {
        response.RespondOK();
    } else {
        PrintLine("removeJobEx failed with details: " + Printable(removed.errorText));
        response.SetBlame(removed.blame);
        response.RespondGenericError(removed.errorText);
    }
    return true;
}

}  // namespace Weftline::Services::Scheduler
