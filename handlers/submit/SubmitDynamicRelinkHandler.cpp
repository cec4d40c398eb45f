#include "handlers/submit/SubmitDynamicRelinkHandler.h"

#include "handlers/support/SubmissionRegistration.h"

namespace Weftline::Services::Scheduler {

PlatformAbstraction::RegistrationParams SubmitDynamicRelinkHandler::GetRegistrationParams() const {
    return DescribeSubmission(
        "SubmitDynamicRelink", "Initiate a dynamic relink operation on sequence from metadata source",
        "submitDynamicRelink",
        {
            DocumentedExample("Dynamic Relink Highest Quality", "IDR_DR_HIGHEST_QUALITY"),
            DocumentedExample("Dynamic Relink Specific Resolution", "IDR_DR_SPECIFIC_RESOLUTION"),
        });
}

}  // namespace Weftline::Services::Scheduler
