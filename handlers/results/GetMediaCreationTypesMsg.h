#pragma once

#include "handlers/results/GenericProxyMsg.h"

namespace Weftline::Services::Scheduler {

/// Passes the question for media creation types on to the metadata worker.
class GetMediaCreationTypesMsg final : public GenericProxyMsg {
public:
    explicit GetMediaCreationTypesMsg(std::string realm);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
};

}  // namespace Weftline::Services::Scheduler
