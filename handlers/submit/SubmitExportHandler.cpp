#include "handlers/submit/SubmitExportHandler.h"

#include "Core/src/Vocabulary.h"
#include "handlers/support/HandlerDocumentation.h"
#include "handlers/support/SubmissionRegistration.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;

namespace {

/// An export has no job parameters: its target stands beside the input.
Parameters ExportExample() {
    Parameters example = TreeOf({{Keys::InputMetadataFilePath, "\\\\media-server\\bins\\sequence.bin"}});
    example.AddArrayParameter(Keys::InputMobIDsCapital,
                              "060a2b340101010101010f0013-000000-5a33ba348cf60ff1-060e2b347f7f-2a81");
    example.SetParameter(Keys::TargetDirectory, "\\\\media-server\\export");
    example.SetParameter(Keys::UseMachineAsWorker_optional, false);
    example.SetChildParameters(Keys::EmailSettingsParams, BuildEmailSettingsExample());
    return example;
}

}  // namespace

PlatformAbstraction::RegistrationParams SubmitExportHandler::GetRegistrationParams() const {
    return DescribeSubmission("SubmitExport", "Initiate an export operation on a sequence", "submitExport",
                              {
                                  {"SubmitExport", ExportExample()},
                              });
}

}  // namespace Weftline::Services::Scheduler
