#include "handlers/submit/SubmitSourceAvailabilityQueryHandler.h"

#include "handlers/support/SubmissionRegistration.h"

namespace Weftline::Services::Scheduler {

PlatformAbstraction::RegistrationParams SubmitSourceAvailabilityQueryHandler::GetRegistrationParams() const {
    return DescribeSubmission("SubmitSourceAvailabilityQuery", "Submits source availability for each mob",
                              "submitSourceAvailabilityQuery",
                              {
                                  DocumentedExample("query source availability", "IDR_SOURCE_AVAILABILITY"),
                              });
}

}  // namespace Weftline::Services::Scheduler
