#include "handlers/submit/SubmitMixdownHandler.h"

#include "handlers/support/SubmissionRegistration.h"

namespace Weftline::Services::Scheduler {

PlatformAbstraction::RegistrationParams SubmitMixdownHandler::GetRegistrationParams() const {
    return DescribeSubmission("SubmitMixdown",
                              "Initiate a mixdown operation on one or more mobs from metadata source",
                              "submitMixdown",
                              {
                                  DocumentedExample("SubmitMixdownSD", "IDR_MIXDOWN_SD"),
                                  DocumentedExample("SubmitMixdownHD", "IDR_MIXDOWN_HD"),
                                  DocumentedExample("SubmitMixdownUHD", "IDR_MIXDOWN_UHD"),
                              });
}

}  // namespace Weftline::Services::Scheduler
