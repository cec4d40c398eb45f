#pragma once

#include <memory>
#include <set>
#include <string>

#include "platform/messaging/ServiceMessageHandler.h"

namespace Weftline::Services::Scheduler {

// What clients ask about the farm's jobs, which the job monitor keeps. The handlers are without state; any
// thread may call. They give true in every case.

/// Gives a client one page of the farm's jobs. The job monitor filters by creator and parent only, so this
/// reads it in pages of its own, and filters by kind and counts here. At most ten questions go out for a
/// message, each of which may block the thread for ten seconds; jobs behind the first thousand are never
/// seen. A monitor that fails makes the page shorter, not an error.
class FindJobsEx final : public PlatformAbstraction::Messaging::ServiceMessageHandler {
public:
    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    bool HandleMessage(std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context,
                       const CoreServices::Parameters& request,
                       PlatformAbstraction::Messaging::ServiceMessageResponse& response) override;
};

/// The kinds that clients mean by "Weftline jobs", also some that this service does not submit. Never changes
/// and is never destroyed.
const std::set<std::string>& WeftlineJobKinds();

/// Removes a finished job from the job monitor. The client knows the job by its client key, the monitor
/// removes by id: so the job is asked for first, and one that is still at work is refused. Nothing keeps the
/// job from changing between the two messages, each of which may block the thread for ten seconds. A failure
/// is printed as well as answered.
class RemoveJobEx final : public PlatformAbstraction::Messaging::ServiceMessageHandler {
public:
    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    bool HandleMessage(std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context,
                       const CoreServices::Parameters& request,
                       PlatformAbstraction::Messaging::ServiceMessageResponse& response) override;
};

}  // namespace Weftline::Services::Scheduler
