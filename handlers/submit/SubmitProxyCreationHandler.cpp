#include "handlers/submit/SubmitProxyCreationHandler.h"

#include "Core/src/Vocabulary.h"
#include "handlers/submit/ProfileLookup.h"
#include "handlers/submit/ProxyCreationParams.h"
#include "handlers/support/HandlerDocumentation.h"
#include "handlers/support/SubmissionRegistration.h"

namespace Weftline::Services::Scheduler {

namespace {

CoreServices::Parameters ProxyCreationExample() {
    ProxyCreationParams params;
    params.inputMetadataFile = Placeholders::InputMetadataFile;
    params.inputMobIDs.assign(2, std::string(Placeholders::InputMob));
    // Written as a person would quote it: in double quotes, each backslash doubled.
    params.targetFolder = R"("\\\\media-server\\proxies")";
    params.profile = "7394f07d-ea1a-4a6c-b8b0-f9b9c9751fe2";
    return BuildJobExample(WriteProxyCreationParams(params));
}

}  // namespace

PlatformAbstraction::RegistrationParams SubmitProxyCreationHandler::GetRegistrationParams() const {
    return DescribeSubmission("SubmitProxyCreation",
                              "Initiate a proxy creation operation on one or more mobs from metadata source",
                              "submitProxyCreation",
                              {
                                  {"Submit proxy creation using profile id", ProxyCreationExample()},
                              });
}

CoreServices::Parameters SubmitProxyCreationHandler::ApplyProfile(
    const CoreServices::Parameters& jobParams) const {
    return ApplyStoredProfile(jobParams);
}

}  // namespace Weftline::Services::Scheduler
