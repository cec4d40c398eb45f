#pragma once

#include "handlers/results/GenericProxyMsg.h"

namespace Weftline::Services::Scheduler {

/// Passes the question for stereoscopic modes on to the metadata worker.
class GetS3DModesMsg final : public GenericProxyMsg {
public:
    explicit GetS3DModesMsg(std::string realm);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
};

}  // namespace Weftline::Services::Scheduler
