#include "handlers/results/GetExportTypesMsg.h"

#include <utility>

#include "Core/src/Vocabulary.h"
#include "handlers/support/SubmissionRegistration.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Weftline::Services::Scheduler {

GetExportTypesMsg::GetExportTypesMsg(std::string realm)
    : GenericProxyMsg(std::move(realm), ServiceNames::MetadataWorker, kMetadataWorkerVersion,
                      Operations::GetExportTypes) {}

PlatformAbstraction::RegistrationParams GetExportTypesMsg::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Operations::GetExportTypes))
        .SetDescription("Returns list of available export types for specified parameters")
        .SetRESTPath("getExportTypes")
        .SetRESTMethod(PlatformAbstraction::HTTPMethod::Post)
        .AddExample({"query export types by type", TreeOf({{Keys::Type, "LXA"}})})
        .AddExample({"query export types by name", TreeOf({{Keys::Name, "MXF OP1a"}})})
        .AddExample(
            {"query export types by GUID", TreeOf({{Keys::GUID, "D49F75BA-4965-4CFA-9D11-CD87206287E0"}})})
        .GetResult();
}

}  // namespace Weftline::Services::Scheduler
