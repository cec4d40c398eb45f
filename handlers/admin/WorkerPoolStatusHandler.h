#pragma once

#include <memory>
#include <string>

#include "platform/messaging/ServiceMessageHandler.h"

namespace Weftline::Services::Scheduler {

/// Tells what the workers of the farm are doing, those aside that serve metadata only. Every message is one
/// question to the coordinator, for which the thread blocks ten seconds at most; one faulty record of a
/// worker fails the whole answer. Read-only after construction; any thread may call.
class WorkerPoolStatusHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    explicit WorkerPoolStatusHandler(std::string realm);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) override;

private:
    const std::string m_realm;
};

}  // namespace Weftline::Services::Scheduler
