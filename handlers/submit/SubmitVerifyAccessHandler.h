#pragma once

#include "handlers/submit/SubmitJobHandler.h"

namespace Weftline::Services::Scheduler {

/// Submits a check that a worker can reach what a mob depends on.
class SubmitVerifyAccessHandler final : public SubmitJobHandler {
public:
    using SubmitJobHandler::SubmitJobHandler;

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
};

}  // namespace Weftline::Services::Scheduler
