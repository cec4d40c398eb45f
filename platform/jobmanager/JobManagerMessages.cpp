#include "platform/jobmanager/JobManagerMessages.h"

#include <stdexcept>
#include <utility>

#include "Core/src/JobKinds.h"
#include "Core/src/Vocabulary.h"

namespace CommonServices {

using CoreServices::Parameters;
namespace Keys = Weftline::Keys;

namespace {

template <class Member>
using Field = std::pair<std::string_view, Member JobInfo::*>;

constexpr Field<std::string> kTexts[] = {
    {Keys::Id, &JobInfo::jobId},
    {Keys::ClientKey, &JobInfo::clientKey},
    {Keys::Kind, &JobInfo::kind},
    {JobManagerKeys::CreationDateTime, &JobInfo::creationDateTime},
    {Keys::CompletedDateTime, &JobInfo::completedDateTime},
    {Keys::CreatedBy, &JobInfo::createdBy},
    {Keys::Name, &JobInfo::name},
    {Keys::Status, &JobInfo::status},
};
constexpr Field<std::int32_t> kNumbers[] = {
    {Keys::Priority, &JobInfo::priority},
    {Keys::Progress, &JobInfo::progress},
};
constexpr Field<Parameters> kTrees[] = {
    {JobManagerKeys::Info, &JobInfo::info},
    {JobManagerKeys::Details, &JobInfo::details},
};

// One job with an odd value must not hide the others of its page: what cannot be read stays blank.
void ReadValue(const Parameters& tree, std::string_view key, Parameters& out) {
    Parameters child;
    if (tree.GetChildParameters(key, child) && !child.IsArray()) {
        out = std::move(child);
    }
}

template <class Value>
void ReadValue(const Parameters& tree, std::string_view key, Value& out) {
    tree.GetParameter(key, out);
}

template <class Fields>
void ReadFields(const Parameters& tree, const Fields& fields, JobInfo& job) {
    for (const auto& [key, pMember] : fields) {
        ReadValue(tree, key, job.*pMember);
    }
}

namespace JobStates = Weftline::JobStates;

constexpr std::pair<std::string_view, JobStatus> kStatusOfText[] = {
    {JobStates::Created, JobStatus::InProgress},   {JobStates::Readied, JobStatus::InProgress},
    {JobStates::Evaluated, JobStatus::InProgress}, {JobStates::Tasked, JobStatus::InProgress},
    {JobStates::Suspended, JobStatus::Suspended},  {JobStates::Completed, JobStatus::Completed},
    {JobStates::Failed, JobStatus::Failed},        {JobStates::Canceled, JobStatus::Canceled},
};

}  // namespace

Parameters WriteJobInfo(const JobInfo& job) {
    Parameters tree;
    for (const auto& [key, pMember] : kTexts) {
        tree.SetParameter(key, job.*pMember);
    }
    for (const auto& [key, pMember] : kNumbers) {
        tree.SetParameter(key, job.*pMember);
    }
    for (const auto& [key, pMember] : kTrees) {
        tree.SetChildParameters(key, job.*pMember);
    }
    return tree;
}

JobInfo ReadJobInfo(const Parameters& tree) {
    JobInfo job;
    ReadFields(tree, kTexts, job);
    ReadFields(tree, kNumbers, job);
    ReadFields(tree, kTrees, job);
    if (job.jobId.empty()) {
        throw std::runtime_error("\"" + std::string(Keys::Id) + "\" of a job is missing");
    }
    return job;
}

JobStatus StrToJobStatus(std::string_view text) {
    for (const auto& [known, status] : kStatusOfText) {
        if (known == text) {
            return status;
        }
    }
    return JobStatus::Unknown;
}

}  // namespace CommonServices
