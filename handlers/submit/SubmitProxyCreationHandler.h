#pragma once

#include "handlers/submit/SubmitJobHandler.h"

namespace Weftline::Services::Scheduler {

/// Submits the creation of proxies. Job parameters may name a stored profile.
class SubmitProxyCreationHandler final : public SubmitJobHandler {
public:
    using SubmitJobHandler::SubmitJobHandler;

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;

protected:
    CoreServices::Parameters ApplyProfile(const CoreServices::Parameters& jobParams) const override;
};

}  // namespace Weftline::Services::Scheduler
