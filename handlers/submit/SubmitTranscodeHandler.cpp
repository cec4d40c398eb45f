#include "handlers/submit/SubmitTranscodeHandler.h"

#include "handlers/submit/ProfileLookup.h"
#include "handlers/support/SubmissionRegistration.h"

namespace Weftline::Services::Scheduler {

PlatformAbstraction::RegistrationParams SubmitTranscodeHandler::GetRegistrationParams() const {
    return DescribeSubmission("SubmitTranscode",
                              "Initiate a transcode operation on one or more mobs from metadata source",
                              "submitTranscode",
                              {
                                  DocumentedExample("SubmitTranscodeSD", "IDR_TRANSCODE_SD"),
                                  DocumentedExample("SubmitTranscodeHD", "IDR_TRANSCODE_HD"),
                                  DocumentedExample("SubmitTranscodeUHD", "IDR_TRANSCODE_UHD"),
                              });
}

CoreServices::Parameters SubmitTranscodeHandler::ApplyProfile(
    const CoreServices::Parameters& jobParams) const {
    return ApplyStoredProfile(jobParams);
}

}  // namespace Weftline::Services::Scheduler
