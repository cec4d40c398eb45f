#include "handlers/admin/RemoveObsoleteJobsHandler.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Core/src/TreeValues.h"
#include "Core/src/Vocabulary.h"
#include "handlers/admin/ParseDateTime.h"
#include "handlers/support/ConsoleLines.h"
#include "handlers/support/HandlerDocumentation.h"
#include "platform/jobmanager/JobManager.h"
#include "platform/jobmanager/JobManagerMessages.h"
#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/RegistrationParams.h"

namespace Weftline::Services::Scheduler {

using CommonServices::JobInfo;
using CommonServices::JobManager;
using CoreServices::Parameters;
using PlatformAbstraction::RegistrationParams;
using PlatformAbstraction::RegParamsBuilder;
using PlatformAbstraction::Messaging::BusMessaging;
using PlatformAbstraction::Messaging::MessageContext;
using PlatformAbstraction::Messaging::ServiceMessageResponse;

namespace {

constexpr std::string_view kName = "RemoveObsoleteJobs";
constexpr std::int32_t kPageSize = 25;
constexpr int kMostEmptyPages = 1000;  // in a row; a manager that gives more of them has no more jobs
constexpr std::int32_t kSubTaskPageSize = 100;
constexpr std::int32_t kMostSubTasks = 1'000'000;  // that refuse to go; a manager with more of them is wrong
constexpr std::size_t kCutTail = 5;  // behind the seconds of a job's date: ".000Z", or most of a fraction

/// Every job of the kind, page by page in the manager's order. Ends whatever the manager answers: a
/// page without a size counts by the jobs that came and is the last if there are none, and so is the last of
/// a thousand empty pages in a row.
std::vector<JobInfo> FindAllJobsOfKind(const std::shared_ptr<BusMessaging>& busMessaging,
                                       const Parameters& identity, const std::string& kind,
                                       const JobManager& jobManager) {
    std::vector<JobInfo> jobs;
    std::int32_t limit = kPageSize;
    std::int32_t total = 0;
    int emptyPages = 0;
    std::int64_t offset = 0;  // wider than `total`, so that adding a page to it cannot overflow
    do {
        std::vector<JobInfo> page = jobManager.FindJobsByKind(
            busMessaging, identity, kind, static_cast<std::int32_t>(offset), limit, total);
        emptyPages = page.empty() ? emptyPages + 1 : 0;
        if (page.empty() && (limit <= 0 || emptyPages == kMostEmptyPages)) {
            break;
        }
        offset += limit > 0 ? limit : static_cast<std::int64_t>(page.size());
        limit = limit > 0 ? limit : kPageSize;
        jobs.insert(jobs.end(), std::make_move_iterator(page.begin()), std::make_move_iterator(page.end()));
    } while (offset < total);
    return jobs;
}

/// Whether the job is older than `cutOff`, in ticks as of `ParseDateTime`. Never for one whose age cannot be
/// told.
bool IsObsolete(const JobInfo& job, std::int64_t cutOff) {
    const std::string& text = job.creationDateTime;
    if (text.size() < kCutTail) {
        return false;
    }
    const auto time = TryParseDateTime(text.substr(0, text.size() - kCutTail));
    // Where the cut took away from the seconds it made the job older than it is.
    const auto wholeTime = TryParseDateTime(text);
    return time && wholeTime && std::max(*time, *wholeTime) < cutOff;
}

std::vector<std::string> ReadSubTasks(const Parameters& details) {
    std::vector<std::string> ids(details.GetArrayNumValues(Keys::SubTaskJobIDs));
    for (std::size_t n = 0; n < ids.size(); ++n) {
        if (!details.GetArrayNthValue(Keys::SubTaskJobIDs, n, ids[n])) {
            return {};  // a list that cannot be trusted names nothing
        }
    }
    return ids;
}

/// Subtask jobs first. Gives how many removals went well; one that fails stops nothing.
int RemoveJobAndSubTasks(const std::shared_ptr<BusMessaging>& busMessaging, const Parameters& identity,
                         const JobInfo& job, const JobManager& jobManager) {
    int count = 0;
    const auto remove = [&](const std::string& jobId) {
        JobInfo removed;
        count += jobManager.RemoveJob(busMessaging, identity, jobId, removed) ? 1 : 0;
    };
    for (const std::string& subTask : ReadSubTasks(job.details)) {
        remove(subTask);
    }
    bool hasMore = FlagOrFalse(job.details, CommonServices::JobManagerKeys::MoreSubTasks);
    for (std::int32_t offset = 0; hasMore;) {
        const auto page = jobManager.FindSubTasks(busMessaging, job.jobId, offset, kSubTaskPageSize);
        const int before = count;
        for (const JobInfo& subTask : page) {
            remove(subTask.jobId);
        }
        // What was removed made room for those behind it.
        offset += count > before ? 0 : kSubTaskPageSize;
        hasMore = !page.empty() && offset < kMostSubTasks;
    }
    remove(job.jobId);
    return count;
}

void Purge(const Parameters& request, const JobManager& jobManager, const MessageContext& context) {
    const std::string creationDate = GetRequiredString(request, Keys::CreationDate);
    const std::string kind = GetRequiredString(request, Keys::Kind);
    const std::int64_t cutOff = ParseDateTime(creationDate);
    const Parameters identity = context.GetContextParameters().GetChildParameters(Keys::Identity);
    const auto busMessaging = context.GetContextBusMessaging();

    const std::vector<JobInfo> jobs = FindAllJobsOfKind(busMessaging, identity, kind, jobManager);
    std::vector<JobInfo> obsolete;
    std::copy_if(jobs.begin(), jobs.end(), std::back_inserter(obsolete),
                 [cutOff](const JobInfo& job) { return IsObsolete(job, cutOff); });
    std::int64_t count = 0;
    for (const JobInfo& job : obsolete) {
        count += RemoveJobAndSubTasks(busMessaging, identity, job, jobManager);
    }
    PrintLine(std::to_string(count) + " jobs deleted.");
}

/// Removes the jobs of the kind `kind` of the request that are older than its `CreationDate`, with the
/// subtask jobs that they list, and prints how many jobs went. The body of a thread: it throws nothing that
/// can be told, and all that stops it is printed as one line. Jobs removed until then stay removed.
void PurgeObsoleteJobs(const Parameters& request, const JobManager& jobManager,
                       const MessageContext& context) {
    try {
        Purge(request, jobManager, context);
    } catch (const std::exception& failure) {
        PrintLine(Printable(failure.what()));
    } catch (...) {
        PrintLine("Unexpected error encountered.");
    }
}

}  // namespace

RegistrationParams RemoveObsoleteJobsHandler::GetRegistrationParams() const {
    return RegParamsBuilder()
        .SetName(std::string(kName))
        .SetDescription("Purge obsolete jobs from orvik.job.manager service")
        .AddExample({std::string(kName), TreeOf({{Keys::CreationDate, "1970-01-01T02:00:00"},
                                                 {Keys::Kind, Placeholders::JobKind}})})
        .GetResult();
}

bool RemoveObsoleteJobsHandler::HandleMessage(std::shared_ptr<MessageContext> context,
                                              const Parameters& request, ServiceMessageResponse& response) {
    try {
        auto jobManager = std::make_shared<JobManager>();
        m_startThread([request, jobManager = std::move(jobManager), context = std::move(context)] {
            PurgeObsoleteJobs(request, *jobManager, *context);
        });
        response.RespondOK();
    } catch (const std::exception& failure) {
        RespondErrorAndPrint(response, std::string(ErrorCodes::Unknown), failure.what());
    } catch (...) {
        RespondErrorAndPrint(response, std::string(ErrorCodes::Unknown), "Unexpected");
    }
    return true;
}

}  // namespace Weftline::Services::Scheduler
