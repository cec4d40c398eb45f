#include "handlers/submit/SubmissionRequest.h"

#include <algorithm>
#include <string_view>

#include "Core/src/JobKinds.h"
#include "Core/src/Vocabulary.h"

namespace Weftline::Services {

using CoreServices::Parameters;

namespace {

constexpr std::int32_t kDefaultPriority = 50;
constexpr std::int32_t kLowestPriority = 1;
constexpr std::int32_t kHighestPriority = 100;

/// The value under the key, or `value` as it was given where there is none of its type.
template <typename Value>
Value ReadOr(const Parameters& request, std::string_view key, Value value) {
    request.GetParameter(key, value);
    return value;
}

std::string ReadText(const Parameters& request, std::string_view key) {
    return ReadOr(request, key, std::string());
}

}  // namespace

SubmissionRequest ReadSubmissionRequest(const Parameters& request, bool failJobDefault) {
    SubmissionRequest read;
    read.jobQueue = ReadOr(request, Keys::JobQueue, std::string(DefaultJobQueue::Id));
    read.priority =
        std::clamp(ReadOr(request, Keys::Priority, kDefaultPriority), kLowestPriority, kHighestPriority);
    read.failJobOnFirstFailedTask = ReadOr(request, Keys::FailJobOnFirstFailedTask, failJobDefault);
    read.clientMachine = ReadText(request, Keys::ClientMachine);
    read.requiredWorkerMachine = ReadText(request, Keys::RequiredWorkerMachine);
    read.excludedWorkerMachine = ReadText(request, Keys::ExcludedWorkerMachine);
    read.storeJobSpecificOutputMetadataInJobMonitor =
        ReadOr(request, Keys::StoreJobSpecificOutputMetadataInJobMonitor, true);
    read.compoundJobId = ReadText(request, Keys::CompoundJobID);
    read.description = ReadText(request, Keys::Description);
    if (read.description.empty()) {
        read.description = ReadText(request, Keys::DescriptionCapital);
    }
    request.GetChildParameters(Keys::EmailSettingsParams, read.emailSettings);
    return read;
}

JobTrees SplitIntoJobTrees(const Parameters& submission) {
    JobTrees trees{submission, submission, Parameters()};
    for (const auto& key : {Keys::JobParams, Keys::JobParamsCapital}) {
        if (submission.HasParameter(key)) {
            trees.runCase.SetChildParameters(key, Parameters());
            submission.GetChildParameters(key, trees.blueprint);
            break;
        }
    }
    return trees;
}

}  // namespace Weftline::Services
