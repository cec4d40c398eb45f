#include "handlers/admin/RemoveJobEx.h"

#include <string>
#include <string_view>

#include "Core/src/TreeValues.h"
#include "Core/src/Vocabulary.h"
#include "handlers/admin/PartTimeJobHandlers.h"
#include "handlers/support/ConsoleLines.h"
#include "handlers/support/HandlerDocumentation.h"
#include "platform/jobmanager/JobStatus.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Weftline::Services::Scheduler {

using CommonServices::JobStatus;
using CoreServices::Parameters;
using PlatformAbstraction::HTTPMethod;
using PlatformAbstraction::RegistrationParams;
using PlatformAbstraction::RegParamsBuilder;
using PlatformAbstraction::Messaging::MessageContext;
using PlatformAbstraction::Messaging::ServiceMessageResponse;

namespace {

using ContextPointer = std::shared_ptr<MessageContext>;

/// A job as far as its removal asks: its id, or why it is not to be removed.
struct RemovableJob {
    std::string failure;  ///< empty where the job may go
    std::string id;
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
        return {"Found job had invalid status for deletion: " + status, {}};
    }
    return {{}, id};
}

RemovableJob FindRemovableJob(const ContextPointer& context, const std::string& clientKey, bool logging) {
    const JobMonitorOutcome found = PartTimeJobHandlers::DoFindOneJob(context, clientKey, logging);
    if (logging) {
        PrintLine("removeJob - DoFindOneJob Results: " + found.results.debugString());
    }
    return found.errorText.empty() ? CheckFoundJob(found.results, clientKey)
                                   : RemovableJob{found.errorText, {}};
}

/// Gives the failure, or an empty text.
std::string RemoveJob(const ContextPointer& context, const std::string& id, bool logging) {
    const JobMonitorOutcome removed = PartTimeJobHandlers::DoRemoveJob(context, id, logging);
    if (logging) {
        PrintLine("removeJob - DoRemoveJob Results: " + removed.results.debugString());
    }
    // What the answer's keys say does not matter, but there has to be one.
    const bool hasKeys = !removed.results.IsArray() && !removed.results.IsEmpty();
    if (removed.errorText.empty() && !hasKeys) {
        return "DoRemoveJob was unable to removeJob and failed to provide any results";
    }
    return removed.errorText;
}

}  // namespace

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
    const std::string failure = job.failure.empty() ? RemoveJob(context, job.id, logging) : job.failure;
    if (failure.empty()) {
        response.RespondOK();
    } else {
        PrintLine("removeJobEx failed with details: " + Printable(failure));
        response.RespondGenericError(failure);
    }
    return true;
}

}  // namespace Weftline::Services::Scheduler
