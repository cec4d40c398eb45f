#include "handlers/results/GetS3DModesMsg.h"

#include <utility>

#include "Core/src/Vocabulary.h"
#include "handlers/support/SubmissionRegistration.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Weftline::Services::Scheduler {

GetS3DModesMsg::GetS3DModesMsg(std::string realm)
    : GenericProxyMsg(std::move(realm), ServiceNames::MetadataWorker, kMetadataWorkerVersion,
                      Operations::GetS3DModes) {}

PlatformAbstraction::RegistrationParams GetS3DModesMsg::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Operations::GetS3DModes))
        .SetDescription("Returns list of available stereoscopic project types for specified filters")
        .SetRESTPath("s3dmodes")
        .AddExample({"query stereoscopic project types for specified filters",
                     TreeOf({{Keys::S3DMode, "Monoscopic"}})})
        .GetResult();
}

}  // namespace Weftline::Services::Scheduler
