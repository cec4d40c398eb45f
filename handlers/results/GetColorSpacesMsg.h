#pragma once

#include "handlers/results/GenericProxyMsg.h"

namespace Weftline::Services::Scheduler {

/// Passes the question for colour spaces on to the metadata worker.
class GetColorSpacesMsg final : public GenericProxyMsg {
public:
    explicit GetColorSpacesMsg(std::string realm);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
};

}  // namespace Weftline::Services::Scheduler
