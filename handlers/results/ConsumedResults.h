#pragma once

#include <functional>
#include <vector>

#include "Core/src/wf_Record.h"
#include "base/parameters/Parameters.h"
#include "handlers/results/QueryResults.h"
#include "platform/messaging/ServiceMessageResponse.h"

namespace Weftline::Services::Scheduler {

/// Answers through the response from results that are in the store no more.
using AnswerFromResults = std::function<void(
    const std::vector<Record>& results, PlatformAbstraction::Messaging::ServiceMessageResponse& response)>;

/// What the find messages do that answer through a response: they delete the results before they look at
/// them, so that a query is fetched once whatever is wrong with its results or with the request. Where there
/// are none the answer is OK with the status "FAILED". A `std::exception` from anywhere, `answer` included,
/// is answered with "Exception: " and its text. Gives true.
bool RespondWithConsumedResults(const ResultKind& kind, const CoreServices::Parameters& request,
                                PlatformAbstraction::Messaging::ServiceMessageResponse& response,
                                const AnswerFromResults& answer);

}  // namespace Weftline::Services::Scheduler
