#pragma once

#include "handlers/submit/SubmitJobHandler.h"

namespace Weftline::Services::Scheduler {

/// Submits a consolidation.
class SubmitConsolidateHandler final : public SubmitJobHandler {
public:
    using SubmitJobHandler::SubmitJobHandler;

    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override;
};

}  // namespace Weftline::Services::Scheduler
