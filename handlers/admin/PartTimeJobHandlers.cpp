#include "handlers/admin/PartTimeJobHandlers.h"

#include <cstddef>
#include <initializer_list>
#include <limits>
#include <string_view>
#include <utility>

#include "Core/src/Vocabulary.h"
#include "handlers/support/ConsoleLines.h"
#include "handlers/support/ServiceQueries.h"

namespace Weftline::Services::Scheduler::PartTimeJobHandlers {

using CoreServices::Parameters;
using PlatformAbstraction::Messaging::Blame;
using PlatformAbstraction::Messaging::BusMessaging;
using PlatformAbstraction::Messaging::MessageContext;
using PlatformAbstraction::Messaging::MessageResultsFuture;
using PlatformAbstraction::Messaging::ServiceMessageDispatch;

namespace {

constexpr std::int32_t kJobMonitorVersion = 1;
constexpr std::int64_t kPatienceMicroseconds = 10'000'000;

/// What the two questions about one job differ in.
struct OneJobQuestion {
    std::string_view function;  ///< its name in the lines of the console
    std::string_view operation;
    std::string_view key;  ///< under which the job is named
};

constexpr OneJobQuestion kFindOneJob{"DoFindOneJob", Operations::FindJob, Keys::ClientKey};
constexpr OneJobQuestion kRemoveJob{"DoRemoveJob", Operations::RemoveJob, Keys::Id};
constexpr std::string_view kOneQuery = "DoOneQueryToJobMonitor";

std::string Concat(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const std::string_view part : parts) {
        text.append(part);
    }
    return text;
}

void PrintParams(std::string_view function, const Parameters& params) {
    PrintLine(Concat({"\nPartTimeJobHandler - ", function, " - Params follow: \n", params.debugString()}));
}

void PrintNoAnswer(std::string_view function) {
    PrintLine(Concat({"PartTimeJobHandlers - ", function, "() failed WaitForDone - no results obtained"}));
}

void PrintNoResults(std::string_view function) {
    PrintLine(Concat({"\nPartTimeJobHandlers - ", function, "() GetResults() returned false"}));
}

std::shared_ptr<MessageResultsFuture> SendToJobMonitor(BusMessaging& busMessaging, std::string_view operation,
                                                       Parameters body) {
    ServiceMessageDispatch dispatch(std::string(ServiceNames::JobMonitor), std::string(Realms::Global),
                                    kJobMonitorVersion, std::string(operation));
    dispatch.parameters = std::move(body);
    return busMessaging.SendRequest(dispatch);
}

std::string DescribeError(const MessageResultsFuture& future) {
    std::string code;
    std::string message;
    return future.GetErrorDetails(code, message) ? code + " : " + message : "failed to get error details";
}

JobMonitorOutcome AwaitOutcome(const OneJobQuestion& question, MessageResultsFuture& future, bool logging) {
    const std::string asked = Concat({question.operation, " on job.monitor "});
    if (!future.WaitForDone(kPatienceMicroseconds)) {
        if (logging) {
            PrintNoAnswer(question.function);
        }
        return {asked + "failed to complete in wait time - 10000ms", Parameters(), Blame::Unavailable};
    }
    // Before the error: an exchange that was given up has one too, but none that says so.
    if (future.HasTimedOut()) {
        return {asked + "timed out", Parameters(), Blame::Unavailable};
    }
    if (future.HasError()) {
        return {asked + "has error: " + DescribeError(future), Parameters(),
                MsgHandlersUtils::BlameFor(future)};
    }
    JobMonitorOutcome outcome;
    if (!future.GetResults(outcome.results)) {
        if (logging) {
            PrintNoResults(question.function);
        }
        outcome.results.ClearParameters();
    }
    return outcome;
}

JobMonitorOutcome AskAboutOneJob(const OneJobQuestion& question,
                                 const std::shared_ptr<MessageContext>& context, const std::string& job,
                                 bool logging) {
    const Parameters identity = ExtractIdentityIdFromMessage(context, logging);
    Parameters body;
    body.SetParameter(question.key, job);
    if (!identity.IsEmpty()) {
        body.SetChildParameters(Keys::Identity, identity);
    }
    if (logging) {
        PrintParams(question.function, body);
    }
    const auto future =
        SendToJobMonitor(*context->GetContextBusMessaging(), question.operation, std::move(body));
    return AwaitOutcome(question, *future, logging);
}

bool IsWanted(const std::set<std::string>& kinds, const Parameters& job) {
    std::string kind;
    return kinds.empty() || (job.GetParameter(Keys::Kind, kind) && !kind.empty() && kinds.contains(kind));
}

}  // namespace

Parameters ExtractIdentityIdFromMessage(std::shared_ptr<MessageContext> context, bool logging) {
    const Parameters contextParams = context->GetContextParameters();
    if (logging) {
        PrintLine("\t ExtractIdentityIdFromMessage - contextParams: \n" + contextParams.debugString());
    }
    return contextParams.GetChildParameters(Keys::Context).GetChildParameters(Keys::Identity);
}

JobMonitorOutcome DoFindOneJob(std::shared_ptr<MessageContext> context, const std::string& clientKey,
                               bool logging) {
    return AskAboutOneJob(kFindOneJob, context, clientKey, logging);
}

JobMonitorOutcome DoRemoveJob(std::shared_ptr<MessageContext> context, const std::string& jobId,
                              bool logging) {
    return AskAboutOneJob(kRemoveJob, context, jobId, logging);
}

Parameters DoOneQueryToJobMonitor(std::shared_ptr<BusMessaging> busMessaging, const Parameters& query,
                                  std::int32_t offset, std::int32_t limit, bool logging) {
    Parameters body = query;
    if (logging) {
        PrintParams(kOneQuery, body);
    }
    body.SetParameter(Keys::Offset, offset);
    body.SetParameter(Keys::Limit, limit);
    const auto future = SendToJobMonitor(*busMessaging, Operations::FindJobs, std::move(body));
    if (!future->WaitForDone(kPatienceMicroseconds)) {
        PrintNoAnswer(kOneQuery);
        return {};
    }
    Parameters results;
    if (!future->GetResults(results)) {
        PrintNoResults(kOneQuery);
        return {};
    }
    return results;
}

bool AccumulateResults(const std::set<std::string>& kinds, Parameters& resultParams,
                       const Parameters& oneResultParams, std::int32_t& itemCountOffset,
                       std::int32_t& clientLimit, bool logging) {
    if (logging) {
        PrintLine("\nPartTimeJobHandler - AccumulateResults() called - itemCountOffset: " +
                  std::to_string(itemCountOffset) + " clientLimit: " + std::to_string(clientLimit) +
                  " oneResultParams: " + oneResultParams.debugString());
    }
    const std::size_t count = oneResultParams.GetArrayNumValues(Keys::Results);
    if (count == 0) {
        return true;
    }
    for (std::size_t n = 0; n < count; ++n) {
        Parameters job;
        if (!oneResultParams.GetArrayNthChildParameters(Keys::Results, n, job) || !IsWanted(kinds, job)) {
            continue;
        }
        if (itemCountOffset >= 1) {
            --itemCountOffset;
            continue;
        }
        resultParams.AddArrayChildParameters(Keys::Results, std::move(job));
        // The least of all limits has nothing below it, and is below 1 as it stands.
        if (clientLimit > std::numeric_limits<std::int32_t>::min()) {
            --clientLimit;
        }
        if (clientLimit < 1) {
            break;
        }
    }
    return clientLimit < 1;
}

}  // namespace Weftline::Services::Scheduler::PartTimeJobHandlers
