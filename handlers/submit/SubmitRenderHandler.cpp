#include "handlers/submit/SubmitRenderHandler.h"

#include "handlers/support/SubmissionRegistration.h"

namespace Weftline::Services::Scheduler {

PlatformAbstraction::RegistrationParams SubmitRenderHandler::GetRegistrationParams() const {
    return DescribeSubmission("SubmitRender",
                              "Initiate a render operation on one or more mobs from metadata source",
                              "submitRender",
                              {
                                  DocumentedExample("SubmitRenderSD", "IDR_VIDEO_PRECOMPUTE_SD"),
                                  DocumentedExample("SubmitRenderHD", "IDR_VIDEO_PRECOMPUTE_HD"),
                                  DocumentedExample("SubmitRenderUHD", "IDR_VIDEO_PRECOMPUTE_UHD"),
                              });
}

}  // namespace Weftline::Services::Scheduler
