#include "handlers/submit/SubmitExportQueryHandler.h"

#include "Core/src/Vocabulary.h"
#include "handlers/support/SubmissionRegistration.h"

namespace Weftline::Services::Scheduler {

PlatformAbstraction::RegistrationParams SubmitExportQueryHandler::GetRegistrationParams() const {
    return DescribeSubmission(
        "SubmitExportQuery", "Submit Export Query", "submitExportQuery",
        {
            {"Query Export types by type", TreeOf({{Keys::Type, "LXA"}})},
            {"Query Export types by name", TreeOf({{Keys::Name, "MXF OP1a"}})},
            {"Query Export types by GUID", TreeOf({{Keys::GUID, "D49F75BA-4965-4CFA-9D11-CD87206287E0"}})},
        });
}

}  // namespace Weftline::Services::Scheduler
