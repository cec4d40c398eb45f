#include "handlers/submit/SubmitMobIDsFromContainerQueryHandler.h"

#include "handlers/support/HandlerDocumentation.h"
#include "handlers/support/SubmissionRegistration.h"

namespace Weftline::Services::Scheduler {

PlatformAbstraction::RegistrationParams SubmitMobIDsFromContainerQueryHandler::GetRegistrationParams() const {
    return DescribeSubmission(
        "SubmitMobIDsFromContainerQuery", "Submit query to get mobIDs in the specified container",
        "submitMobIDsFromContainerQuery",
        {
            {"query mobIDs from container", LoadJsonDocumentation("IDR_GET_MOB_IDS_FROM_CONTAINER")},
        });
}

}  // namespace Weftline::Services::Scheduler
