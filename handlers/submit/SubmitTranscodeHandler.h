#pragma once

#include "handlers/submit/SubmitJobHandler.h"

namespace Weftline::Services::Scheduler {

/// Submits a transcode. Job parameters may name a stored profile.
class SubmitTranscodeHandler final : public SubmitJobHandler {
public:
    using SubmitJobHandler::SubmitJobHandler;

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;

protected:
    CoreServices::Parameters ApplyProfile(const CoreServices::Parameters& jobParams) const override;
};

}  // namespace Weftline::Services::Scheduler
