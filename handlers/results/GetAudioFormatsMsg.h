#pragma once

#include "handlers/results/GenericProxyMsg.h"

namespace Weftline::Services::Scheduler {

/// Passes the question for audio formats on to the metadata worker.
class GetAudioFormatsMsg final : public GenericProxyMsg {
public:
    explicit GetAudioFormatsMsg(std::string realm);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
};

}  // namespace Weftline::Services::Scheduler
