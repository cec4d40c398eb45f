#include "handlers/submit/SubmitVerifyAccessHandler.h"

#include "handlers/support/SubmissionRegistration.h"

namespace Weftline::Services::Scheduler {

PlatformAbstraction::RegistrationParams SubmitVerifyAccessHandler::GetRegistrationParams() const {
    return DescribeSubmission("VerifyAccessToMedia", "Verifies access to the mob dependencies",
                              "verifyAccessToMedia",
                              {
                                  {"emptyParams", CoreServices::Parameters()},
                              });
}

}  // namespace Weftline::Services::Scheduler
