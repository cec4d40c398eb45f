#include "handlers/submit/SubmitDataExtractHandler.h"

#include "handlers/support/SubmissionRegistration.h"

namespace Weftline::Services::Scheduler {

PlatformAbstraction::RegistrationParams SubmitDataExtractHandler::GetRegistrationParams() const {
    return DescribeSubmission("SubmitDataExtract",
                              "Initiate a dataextract operation on one or more mobs from metadata source",
                              "submitDataExtract",
                              {
                                  DocumentedExample("SubmitDataExtractHD", "IDR_DATAEXTRACT_HD"),
                              });
}

}  // namespace Weftline::Services::Scheduler
