#pragma once

#include "handlers/results/GenericProxyMsg.h"

namespace Weftline::Services::Scheduler {

/// Passes the question for export types on to the metadata worker.
class GetExportTypesMsg final : public GenericProxyMsg {
public:
    explicit GetExportTypesMsg(std::string realm);

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
};

}  // namespace Weftline::Services::Scheduler
