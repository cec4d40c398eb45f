#pragma once

#include "handlers/submit/SubmitJobHandler.h"

namespace Weftline::Services::Scheduler {

/// Submits a query for video formats.
class SubmitVideoFormatsQueryHandler final : public SubmitJobHandler {
public:
    using SubmitJobHandler::SubmitJobHandler;

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
};

}  // namespace Weftline::Services::Scheduler
