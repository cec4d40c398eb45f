#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>

#include "base/parameters/Parameters.h"
#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/MessageAnswer.h"
#include "platform/messaging/MessageContext.h"

namespace Weftline::Services::Scheduler {

/// What came of a question about one job. Both parts may be empty: the monitor gave no failure, and no answer
/// that can be read either.
struct JobMonitorOutcome {
    std::string errorText;             ///< empty when the exchange gave no failure
    CoreServices::Parameters results;  ///< what the monitor answered
    PlatformAbstraction::Messaging::Blame blame =
        PlatformAbstraction::Messaging::Blame::Service;  ///< for the failure
};

/// The talk with the job monitor. Nothing is kept between calls, so any thread may call. Each question is one
/// message, without retry, and blocks for ten seconds at most. No failure of the monitor throws; what the bus
/// itself throws passes through. `logging` prints what is sent and received.
namespace PartTimeJobHandlers {

/// The caller's whole identity, not its id alone; empty when the caller is unknown.
CoreServices::Parameters ExtractIdentityIdFromMessage(
    std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context, bool logging);

/// Asks for the job of a client key, also an empty one.
JobMonitorOutcome DoFindOneJob(std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context,
                               const std::string& clientKey, bool logging);

/// Has the job of that id removed. An answer with any key says that it is done.
JobMonitorOutcome DoRemoveJob(std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context,
                              const std::string& jobId, bool logging);

/// Asks for one page of jobs: `query` with `offset` and `limit` in the place of its own. Gives the answer, or
/// an empty tree for whatever went wrong, with a line that says so whether `logging` is on or not.
CoreServices::Parameters DoOneQueryToJobMonitor(
    std::shared_ptr<PlatformAbstraction::Messaging::BusMessaging> busMessaging,
    const CoreServices::Parameters& query, std::int32_t offset, std::int32_t limit, bool logging);

/// Adds the jobs of one page that the client is to see to `results` of `resultParams`. A job passes when its
/// kind is in `kinds`, or when that is empty; the first `itemCountOffset` that pass are left out, and
/// `clientLimit` are taken, but at least one. Both count down. True when no further page is needed: the page
/// was empty, or the client's is full.
bool AccumulateResults(const std::set<std::string>& kinds, CoreServices::Parameters& resultParams,
                       const CoreServices::Parameters& oneResultParams, std::int32_t& itemCountOffset,
                       std::int32_t& clientLimit, bool logging);

}  // namespace PartTimeJobHandlers
}  // namespace Weftline::Services::Scheduler
