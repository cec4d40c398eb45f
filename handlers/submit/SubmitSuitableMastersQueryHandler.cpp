#include "handlers/submit/SubmitSuitableMastersQueryHandler.h"

#include "handlers/support/SubmissionRegistration.h"

namespace Weftline::Services::Scheduler {

PlatformAbstraction::RegistrationParams SubmitSuitableMastersQueryHandler::GetRegistrationParams() const {
    return DescribeSubmission(
        "SubmitSuitableMastersQuery",
        "Initiate a submit suitable masters operation on one or more mobs from metadata source",
        "submitSuitableMastersQuery",
        {
            DocumentedExample("SubmitSuitableMastersQuery", "IDR_SUBMIT_SUITABLE_MASTERS_QUERY"),
        });
}

}  // namespace Weftline::Services::Scheduler
