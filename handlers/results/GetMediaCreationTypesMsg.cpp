#include "handlers/results/GetMediaCreationTypesMsg.h"

#include <utility>

#include "Core/src/Vocabulary.h"
#include "platform/messaging/RegParamsBuilder.h"

namespace Weftline::Services::Scheduler {

GetMediaCreationTypesMsg::GetMediaCreationTypesMsg(std::string realm)
    : GenericProxyMsg(std::move(realm), ServiceNames::MetadataWorker, kMetadataWorkerVersion,
                      Operations::GetMediaCreationTypes) {}

PlatformAbstraction::RegistrationParams GetMediaCreationTypesMsg::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName(std::string(Operations::GetMediaCreationTypes))
        .SetDescription("Returns list of available media creation types")
        .SetRESTPath("getMediaCreationTypes")
        .AddExample({"query media creation types by name", {}})
        .GetResult();
}

}  // namespace Weftline::Services::Scheduler
