#pragma once

#include "handlers/results/GenericProxyMsg.h"

namespace Weftline::Services::Scheduler {

/// Passes the question for video formats on to the metadata worker.
class GetVideoFormatsMsg final : public GenericProxyMsg {
public:
    explicit GetVideoFormatsMsg(std::string realm);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
};

}  // namespace Weftline::Services::Scheduler
