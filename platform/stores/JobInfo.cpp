#include "JobInfo.h"

#include <stdexcept>
#include <string_view>
#include <utility>

#include "JobManagerMessages.h"
#include "Vocabulary.h"

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

[[noreturn]] void Refuse(std::string_view key, const char* why) {
    throw std::runtime_error("\"" + std::string(key) + "\" of a job is " + why);
}

bool ReadValue(const Parameters& tree, std::string_view key, Parameters& out) {
    return tree.GetChildParameters(key, out) && !out.IsArray();
}

template <class Value>
bool ReadValue(const Parameters& tree, std::string_view key, Value& out) {
    return tree.GetParameter(key, out);
}

template <class Fields>
void ReadFields(const Parameters& tree, const Fields& fields, JobInfo& job) {
    for (const auto& [key, pMember] : fields) {
        if (tree.HasParameter(key) && !ReadValue(tree, key, job.*pMember)) {
            Refuse(key, "of another type");
        }
    }
}

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
        Refuse(Keys::Id, "missing");
    }
    return job;
}

}  // namespace CommonServices
