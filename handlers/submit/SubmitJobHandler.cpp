#include "handlers/submit/SubmitJobHandler.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <utility>

#include "Core/src/Job.h"
#include "Core/src/TimeText.h"
#include "Core/src/Vocabulary.h"
#include "base/concurrency/HeldOutput.h"
#include "handlers/submit/IdentityLookup.h"
#include "handlers/submit/SubmissionRequest.h"
#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/PlatformIdentifiers.h"
#include "platform/stores/EventStore.h"
#include "platform/stores/ObjectStore.h"

namespace Weftline::Services {

using CommonServices::EventStore;
using CommonServices::ObjectStore;
using CoreServices::Parameters;
using DataModel::Job;
using PlatformAbstraction::HeldOutput;
using PlatformAbstraction::Messaging::BusConnection;
using PlatformAbstraction::Messaging::MessageContext;

namespace {

Parameters IdentityOf(const MessageContext& context) {
    return context.GetContextParameters()
        .GetChildParameters(Keys::Context)
        .GetChildParameters(Keys::Identity);
}

/// The request as the job's workers get it. A client's own directories never reach them.
Parameters MakeSubmission(const Parameters& request, const std::string& metadataDirectory) {
    Parameters submission = request;
    submission.SetParameter(Keys::ProcessingControlDirectoryPath, metadataDirectory);
    submission.SetParameter(Keys::MetadataDirectory, metadataDirectory);
    return submission;
}

/// The first element of the array under `jobParams`; nothing where there is no array, or where one of its
/// elements is no tree.
std::optional<Parameters> FirstOfJobParamsList(const Parameters& submission) {
    const std::size_t count = submission.GetArrayNumValues(Keys::JobParams);
    if (count == 0) {
        return std::nullopt;
    }
    Parameters element;
    for (std::size_t n = count; n > 0; --n) {  // backwards, so that the first is left at the end
        if (!submission.GetArrayNthChildParameters(Keys::JobParams, n - 1, element)) {
            return std::nullopt;
        }
    }
    return element;
}

std::optional<Parameters> FindJobParams(const Parameters& submission) {
    if (std::optional<Parameters> first = FirstOfJobParamsList(submission)) {
        return first;
    }
    Parameters child;
    if (!submission.GetChildParameters(Keys::JobParams, child)) {
        return std::nullopt;
    }
    return child;
}

void FillFromRequest(Job& job, SubmissionRequest request) {
    job.SetParent(std::move(request.compoundJobId));
    job.SetJobQueue(std::move(request.jobQueue));
    job.SetPriority(request.priority);
    job.SetClientMachine(std::move(request.clientMachine));
    job.SetRequiredWorkerMachine(std::move(request.requiredWorkerMachine));
    job.SetExcludedWorkerMachine(std::move(request.excludedWorkerMachine));
    job.SetStoreJobSpecificOutputMetadataInJobMonitor(request.storeJobSpecificOutputMetadataInJobMonitor);
    job.SetDescription(std::move(request.description));
    job.SetEmailSettingsParams(std::move(request.emailSettings));
    job.SetFailJobOnFirstFailedTask(request.failJobOnFirstFailedTask);
}

void FillFromTrees(Job& job, JobTrees trees) {
    job.SetProcessingData(std::move(trees.processing));
    job.SetJobRunCaseData(std::move(trees.runCase));
    job.SetJobBlueprintData(std::move(trees.blueprint));
}

/// An event never announces a job that is not stored. Where the events lie in another place than the jobs, a
/// job whose announcement was not taken stays submitted: its client has a job to ask for.
void StoreAndAnnounce(const Job& job, const std::string& clientKey, const std::string& name) {
    const EventStore eventStore{Parameters()};
    const ObjectStore objectStore;
    Record event = DataModel::MakeJobCreatedEvent(clientKey, job.GetJobQueue());
    const std::string failure = name + " - upsert record into Object Store failed";
    const HeldOutput::Tail tail(failure);  // all that comes after this is the answer
    if (!objectStore.UpsertOneAndProduce(job.ToRecord(), eventStore, std::move(event))) {
        throw std::domain_error(failure);
    }
}

bool NamesProfile(const Parameters& jobParams) {
    std::string profile;
    return jobParams.GetParameter(Keys::Profile, profile);
}

}  // namespace

SubmitJobHandler::SubmitJobHandler(std::shared_ptr<BusConnection> messagingService) noexcept
    : m_pMessagingService(std::move(messagingService)) {}

Parameters SubmitJobHandler::ApplyProfile(const Parameters&) const {
    return Parameters();
}

void SubmitJobHandler::ResolveJobParams(Parameters& submission) const {
    const std::optional<Parameters> jobParams = FindJobParams(submission);
    if (!jobParams) {
        return;
    }
    submission.ClearParameter(Keys::JobParams);
    submission.SetChildParameters(Keys::JobParams,
                                  NamesProfile(*jobParams) ? ApplyProfile(*jobParams) : *jobParams);
}

Parameters SubmitJobHandler::SubmitJob(const std::string& jobKind, const std::string& evalTaskKind,
                                       const std::string& name, bool failJobDefault,
                                       const Parameters& request, std::shared_ptr<MessageContext> context) {
    const Parameters identity = IdentityOf(*context);
    const std::string clientKey = PlatformAbstraction::CreateGuidAsString();
    Parameters submission = MakeSubmission(request, PlatformAbstraction::GetMetadataDir(request, clientKey));
    ResolveJobParams(submission);

    Job job(clientKey);
    job.SetJobKind(jobKind);
    job.SetName(name);
    job.SetJobEvalTaskKind(evalTaskKind);
    FillFromRequest(job, ReadSubmissionRequest(request, failJobDefault));
    job.SetCreatedDateTime(ExtendedIsoUtc(std::chrono::system_clock::now()));
    job.SetIdentity(identity);
    FillFromTrees(job, SplitIntoJobTrees(submission));
    if (const auto displayName = FetchDisplayNameFromIdentity(identity, context->GetContextBusMessaging())) {
        job.SetCreatedBy(*displayName);
    }
    StoreAndAnnounce(job, clientKey, name);

    Parameters answer;
    answer.SetParameter(Keys::ClientKey, clientKey);
    return answer;
}

}  // namespace Weftline::Services
