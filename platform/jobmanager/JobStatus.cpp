#include "platform/jobmanager/JobStatus.h"

#include <utility>

#include "Core/src/JobKinds.h"

namespace CommonServices {

namespace {

namespace JobStates = Weftline::JobStates;

constexpr std::pair<std::string_view, JobStatus> kStatusOfText[] = {
    {"InProgress", JobStatus::InProgress},        {JobStates::Created, JobStatus::InProgress},
    {JobStates::Readied, JobStatus::InProgress},  {JobStates::Evaluated, JobStatus::InProgress},
    {JobStates::Tasked, JobStatus::InProgress},   {JobStates::Suspended, JobStatus::Suspended},
    {JobStates::Completed, JobStatus::Completed}, {JobStates::Failed, JobStatus::Failed},
    {JobStates::Canceled, JobStatus::Canceled},
};

}  // namespace

JobStatus StrToJobStatus(std::string_view text) {
    for (const auto& [known, status] : kStatusOfText) {
        if (known == text) {
            return status;
        }
    }
    return JobStatus::Unknown;
}

}  // namespace CommonServices
