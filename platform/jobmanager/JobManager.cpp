#include "platform/jobmanager/JobManager.h"

#include <cstddef>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "Core/src/Vocabulary.h"
#include "platform/jobmanager/JobManagerMessages.h"
#include "platform/messaging/ConfigurationStore.h"

namespace CommonServices {

using CoreServices::Parameters;
using PlatformAbstraction::Messaging::MessageResultsFuture;
using PlatformAbstraction::Messaging::ServiceMessageDispatch;
namespace Keys = Weftline::Keys;
namespace Operations = Weftline::Operations;
namespace Options = Weftline::Options;

namespace {

constexpr std::int64_t kPatienceMicroseconds = 10'000'000;

[[noreturn]] void Fail(std::string_view operation, std::string_view why) {
    throw std::runtime_error(std::string(operation).append(" at the job manager ").append(why));
}

std::string JobManagerName() {
    std::string name = PlatformAbstraction::GetConfigValue(std::string(Options::JobManagerServiceName));
    return name.empty() ? std::string(Weftline::ServiceNames::JobMonitor) : name;
}

ServiceMessageDispatch MakeDispatch(std::string_view operation, Parameters body, const Parameters& identity) {
    if (!identity.IsEmpty()) {
        body.SetChildParameters(Keys::Identity, identity);
    }
    ServiceMessageDispatch dispatch(JobManagerName(), std::string(Weftline::Realms::Global),
                                    kJobManagerVersion, std::string(operation));
    dispatch.parameters = std::move(body);
    return dispatch;
}

Parameters AwaitJobs(std::string_view operation, MessageResultsFuture& future) {
    if (!future.WaitForDone(kPatienceMicroseconds) || future.HasTimedOut()) {
        Fail(operation, "was not answered in time");
    }
    if (future.HasError()) {
        std::string code;
        std::string message = "no details";
        const bool hasDetails = future.GetErrorDetails(code, message);
        Fail(operation, "has error: " + (hasDetails ? code + " : " + message : message));
    }
    Parameters answer;
    if (!future.GetResults(answer)) {
        Fail(operation, "was answered with no tree");
    }
    return answer;
}

std::vector<JobInfo> ReadJobs(std::string_view operation, const Parameters& answer) {
    Parameters list;
    if (!answer.GetChildParameters(Keys::Results, list) || !list.IsArray()) {
        Fail(operation, "was answered without \"results\"");
    }
    std::vector<JobInfo> jobs(list.GetArrayNumValues());
    for (std::size_t n = 0; n < jobs.size(); ++n) {
        Parameters tree;
        if (!answer.GetArrayNthChildParameters(Keys::Results, n, tree)) {
            Fail(operation, "was answered with a job that is no tree");
        }
        jobs[n] = ReadJobInfo(tree);
    }
    return jobs;
}

}  // namespace

std::vector<JobInfo> JobManager::FindJobsByKind(const BusPointer& busMessaging, const Parameters& identity,
                                                const std::string& kind, std::int32_t offset,
                                                std::int32_t& limit, std::int32_t& total) const {
    Parameters body;
    body.SetParameter(Keys::Kind, kind);
    body.SetParameter(Keys::Offset, offset);
    body.SetParameter(Keys::Limit, limit);
    const auto future = busMessaging->SendRequest(
        MakeDispatch(JobManagerOperations::FindJobsByKind, std::move(body), identity));
    const Parameters answer = AwaitJobs(JobManagerOperations::FindJobsByKind, *future);

    std::vector<JobInfo> jobs = ReadJobs(JobManagerOperations::FindJobsByKind, answer);
    std::int32_t toldTotal = 0;
    if (!answer.GetParameter(JobManagerKeys::Total, toldTotal)) {
        Fail(JobManagerOperations::FindJobsByKind, "was answered without \"total\"");
    }
    if (answer.HasParameter(Keys::Limit) && !answer.GetParameter(Keys::Limit, limit)) {
        Fail(JobManagerOperations::FindJobsByKind, "was answered with a \"limit\" that is no number");
    }
    total = toldTotal;
    return jobs;
}

std::vector<JobInfo> JobManager::FindSubTasks(const BusPointer& busMessaging, const std::string& jobId,
                                              std::int32_t offset, std::int32_t limit) const {
    Parameters parent;
    parent.SetParameter(Keys::Id, jobId);
    Parameters filter;
    filter.SetChildParameters(Keys::Parent, std::move(parent));
    Parameters body;
    body.SetParameter(Keys::Offset, offset);
    body.SetParameter(Keys::Limit, limit);
    body.SetChildParameters(Keys::Body, std::move(filter));
    const auto future = busMessaging->SendRequest(MakeDispatch(Operations::FindJobs, std::move(body), {}));
    return ReadJobs(Operations::FindJobs, AwaitJobs(Operations::FindJobs, *future));
}

bool JobManager::RemoveJob(const BusPointer& busMessaging, const Parameters& identity,
                           const std::string& jobId, JobInfo& jobInfo) const {
    Parameters body;
    body.SetParameter(Keys::Id, jobId);
    const auto future =
        busMessaging->SendRequest(MakeDispatch(Operations::RemoveJob, std::move(body), identity));
    Parameters answer;
    if (!future->WaitForDone(kPatienceMicroseconds) || future->HasError() || !future->GetResults(answer) ||
        answer.IsArray() || answer.IsEmpty()) {
        return false;
    }
    jobInfo = JobInfo();
    jobInfo.jobId = jobId;
    return true;
}

}  // namespace CommonServices
