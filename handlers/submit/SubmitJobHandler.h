#pragma once

#include <memory>
#include <string>

#include "platform/messaging/BusConnection.h"
#include "platform/messaging/ServiceMessageHandler.h"

namespace Weftline::Services {

/// The one flow through which every job is born: it stores a job record made from the request, announces it
/// with an event and answers with the client key. Nothing is started here, and the answer waits for no work.
///
/// The fifteen operations derive from it. One object of each lives from registration to the end of the
/// process and is shared by all submissions; it keeps nothing of any of them, so several threads may call at
/// once.
class SubmitJobHandler : public Weftline::SubmitMessageHandler {
public:
    explicit SubmitJobHandler(
        std::shared_ptr<PlatformAbstraction::Messaging::BusConnection> messagingService) noexcept;

    /// Gives a tree with the one key `clientKey`: the id of the stored job and of what the event announces.
    /// Throws `std::domain_error` when the job could not be stored, and whatever the stores and
    /// `ApplyProfile` throw; a job that was stored before its event failed stays stored. Blocks for at most
    /// one second, for the caller's display name, beside the time of the stores.
    CoreServices::Parameters SubmitJob(
        const std::string& jobKind, const std::string& evalTaskKind, const std::string& name,
        bool failJobDefault, const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) override;

protected:
    /// Makes job parameters of some that name a profile. An operation that knows no profiles gives an empty
    /// tree, and so leaves such a job without parameters.
    virtual CoreServices::Parameters ApplyProfile(const CoreServices::Parameters& jobParams) const;

    /// Normalises `jobParams` of a submission: of an array of trees the first alone remains, and parameters
    /// that name a profile become what `ApplyProfile` makes of them.
    virtual void ResolveJobParams(CoreServices::Parameters& submission) const;

private:
    const std::shared_ptr<PlatformAbstraction::Messaging::BusConnection> m_pMessagingService;
};

}  // namespace Weftline::Services
