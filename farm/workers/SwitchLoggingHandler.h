#pragma once

#include <memory>

#include "platform/messaging/ServiceMessageHandlerV2.h"

namespace Quillon::Farm {

class WorkerLog;

/// Answers `remoteLogging`: `turnOnRemoteLogging` switches the log of the worker on, its absence off.
class SwitchLoggingHandler final : public PlatformAbstraction::Messaging::ServiceMessageHandlerV2 {
public:
    explicit SwitchLoggingHandler(std::shared_ptr<WorkerLog> log);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& request,
        std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> context) override;

private:
    const std::shared_ptr<WorkerLog> m_pLog;
};

}  // namespace Quillon::Farm
