#include "handlers/results/GetUniqueExportPluginsHandler.h"

#include <utility>

#include "Core/src/Vocabulary.h"
#include "handlers/results/StoreLimits.h"
#include "handlers/results/UniqueExportPlugins.h"
#include "handlers/support/HandlerDocumentation.h"
#include "platform/messaging/RegParamsBuilder.h"
#include "platform/stores/ObjectStore.h"

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
