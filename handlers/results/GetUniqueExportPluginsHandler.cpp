#include "GetUniqueExportPluginsHandler.h"

#include <utility>

#include "HandlerDocumentation.h"
#include "ObjectStore.h"
#include "RegParamsBuilder.h"
#include "StoreLimits.h"
#include "UniqueExportPlugins.h"
#include "Vocabulary.h"

namespace Weftline::Services::Scheduler {

using CommonServices::ObjectStore;
using CoreServices::Parameters;
using PlatformAbstraction::Messaging::MessageContext;

GetUniqueExportPluginsHandler::GetUniqueExportPluginsHandler(std::string realm) : m_realm(std::move(realm)) {}

PlatformAbstraction::RegistrationParams GetUniqueExportPluginsHandler::GetRegistrationParams() const {
    return PlatformAbstraction::RegParamsBuilder()
        .SetName("getUniqueExportPlugins")
        .SetDescription("Get Unique Export Plugins")
        .SetRESTPath("uniqueExportPlugins")
        .AddExample(
            {"Get Unique Export Plugins by type", LoadJsonDocumentation("IDR_GET_UNIQUE_EXPORT_PLUGINS")})
        .GetResult();
}

Parameters GetUniqueExportPluginsHandler::HandleMessageV2(const Parameters& request,
                                                          std::shared_ptr<MessageContext> /*context*/) {
    std::string typeFilter;
    request.GetParameter(Keys::Type, typeFilter);
    UniqueExportPlugins plugins(std::move(typeFilter));
    for (const Record& record : ObjectStore().FindRecordsOfType(
             std::string(Collections::Workers), std::string(RecordTypes::Worker), 0, kAllRecords)) {
        plugins.AddWorker(Parameters::fromJSON(record.recordData));
    }
    return plugins.MakeAnswer();
}

}  // namespace Weftline::Services::Scheduler
