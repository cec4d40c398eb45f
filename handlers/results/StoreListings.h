#pragma once

#include <memory>
#include <string>

#include "platform/messaging/ServiceMessageHandler.h"

namespace Weftline::Services::Scheduler {

/// Lists the export plug-ins that any worker of the farm has, of one type where the request names it, each
/// once however many workers have it: the first copy stays. Types and identities are compared byte for byte.
/// A plug-in without identity, or without a type where one is asked for, fails the whole listing.
class GetUniqueExportPluginsHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    explicit GetUniqueExportPluginsHandler(std::string realm);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) override;

private:
    const std::string m_realm;  // where the service is registered; the store knows no realms
};

/// Lists all profiles by id, name and kind. One record that is no profile fails the whole listing.
class GetProfilesHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) override;
};

}  // namespace Weftline::Services::Scheduler
