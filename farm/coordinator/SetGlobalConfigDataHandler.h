#pragma once

#include <mutex>

#include "platform/messaging/ServiceMessageHandlerV2.h"

namespace Quillon::Farm {

/// Takes configuration that is meant for the whole farm. No worker here has a use for it, so it is kept and
/// shown to the operator: each message is a line in the log with all that has been set so far.
class SetGlobalConfigDataHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    /// The answer is empty.
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) override;

private:
    std::mutex m_mutex;
    CoreServices::Parameters m_config;  // guarded by m_mutex
};

}  // namespace Quillon::Farm
