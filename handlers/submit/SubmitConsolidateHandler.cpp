#include "handlers/submit/SubmitConsolidateHandler.h"

#include "Core/src/Vocabulary.h"
#include "handlers/support/HandlerDocumentation.h"
#include "handlers/support/SubmissionRegistration.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;

namespace {

Parameters ConsolidateExample() {
    Parameters example = TreeOf({{Keys::InputMetadataFilePath, "\\\\media-server\\bins\\scenes.bin"}});
    for (const char* mob : {"060a2b340101010101010f0013-000000-5a33ba348cf60ff1-060e2b347f7f-2a80",
                            "060a2b340101010101010f0013-000000-5a33ba348cf60ff1-060e2b347f7f-2a81"}) {
        example.AddArrayParameter(Keys::InputMobIDsCapital, mob);
    }
    example.SetParameter(Keys::RootPath, kExampleRootPath);
    example.SetChildParameters(Keys::JobParamsCapital,
                               TreeOf({{Keys::TargetVideoDirectory, "\\\\media-server\\consolidate\\video"},
                                       {Keys::TargetAudioDirectory, "\\\\media-server\\consolidate\\audio"},
                                       {Keys::SkipVideo, false},
                                       {Keys::SkipAudio, false},
                                       {Keys::SkipData, true},
                                       {Keys::HandleLength_optional, 2},
                                       {Keys::UseMachineAsWorker_optional, false}}));
    example.SetChildParameters(Keys::EmailSettingsParams, BuildEmailSettingsExample());
    return example;
}

}  // namespace

PlatformAbstraction::RegistrationParams SubmitConsolidateHandler::GetRegistrationParams() const {
    return DescribeSubmission("SubmitConsolidate",
                              "Initiate a consolidate operation on one or more mobs from metadata source",
                              "submitConsolidate",
                              {
                                  {"SubmitConsolidate", ConsolidateExample()},
                                  DocumentedExample("SubmitConsolidateEx1", "IDR_CONSOLIDATE_EX1"),
                              });
}

}  // namespace Weftline::Services::Scheduler
