#include "service/SchedulerService.h"

#include <boost/program_options/options_description.hpp>
#include <boost/program_options/value_semantic.hpp>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "Core/src/SubmitOperations.h"
#include "Core/src/Vocabulary.h"
#include "handlers/admin/Configuration.h"
#include "handlers/admin/JobMessages.h"
#include "handlers/admin/RemoveObsoleteJobsHandler.h"
#include "handlers/admin/WorkerPoolStatusHandler.h"
#include "handlers/results/CatalogueMessages.h"
#include "handlers/results/FormatResults.h"
#include "handlers/results/QueryResults.h"
#include "handlers/results/StoreListings.h"
#include "handlers/submit/SubmitHandlers.h"
#include "platform/messaging/BusConnection.h"
#include "platform/messaging/ServiceInfo.h"

namespace Weftline::Services::Scheduler {

namespace {

namespace po = boost::program_options;
using PlatformAbstraction::Messaging::BusConnection;
using PlatformAbstraction::Messaging::ErrorCode;
using PlatformAbstraction::Messaging::ServiceInfoApi;
using PlatformAbstraction::Messaging::SubmitOpJobInfo;

constexpr std::int32_t kServiceVersion = 2;
constexpr unsigned kOptionLineLength = 80;
constexpr unsigned kOptionDescriptionLength = 40;

// The errors that the service announces. There are none: the codes of single handlers are not announced.
const std::vector<ErrorCode>& ServiceErrorCodes() {
    static const std::vector<ErrorCode> codes;
    return codes;
}

SubmitOpJobInfo JobInfoOf(const SubmitOperations::Row& operation) {
    return {std::string(operation.jobKind), std::string(operation.evalTaskKind), std::string(operation.name),
            operation.failJobDefault};
}

template <std::size_t... place>
void RegisterSubmissions(ServiceInfoApi& service, const std::shared_ptr<BusConnection>& bus,
                         std::index_sequence<place...> /*places*/) {
    using SubmitOperations::kAll;
    (service.AddSubmitMessageHandler(std::make_shared<SubmitOperationHandler<*kAll[place]>>(bus),
                                     JobInfoOf(*kAll[place])),
     ...);
}

void RegisterOtherMessages(ServiceInfoApi& service, const std::shared_ptr<BusConnection>& bus,
                           const std::string& realm) {
    service.AddMessageHandler(std::make_shared<RemoveObsoleteJobsHandler>(bus));
    service.AddMessageHandler(std::make_shared<GetVideoFormatsMsg>(realm));
    service.AddMessageHandler(std::make_shared<GetAudioFormatsMsg>(realm));
    service.AddMessageHandler(std::make_shared<GetColorSpacesMsg>(realm));
    service.AddMessageHandler(std::make_shared<GetS3DModesMsg>(realm));
    service.AddMessageHandler(std::make_shared<ConfigureDXHandler>(bus));
    service.AddMessageHandler(std::make_shared<RemoteLoggingHandler>(bus));
    service.AddMessageHandlerV2(std::make_shared<WorkerPoolStatusHandler>(realm));
    service.AddMessageHandler(std::make_shared<GetExportTypesMsg>(realm));
    service.AddMessageHandler(std::make_shared<GetMediaCreationTypesMsg>(realm));
    service.AddMessageHandler(std::make_shared<FindJobsEx>());
    service.AddMessageHandler(std::make_shared<RemoveJobEx>());
    service.AddMessageHandler(std::make_shared<FindExportTypesHandler>(realm));
    service.AddMessageHandler(std::make_shared<FindVideoFormatsHandler>(realm));
    service.AddMessageHandler(std::make_shared<FindAudioFormatsHandler>(realm));
    service.AddMessageHandlerV2(std::make_shared<FindSourceAvailabilityHandler>());
    service.AddMessageHandlerV2(std::make_shared<FindMobIDsFromContainerHandler>(realm));
    service.AddMessageHandlerV2(std::make_shared<FindSuitableMastersHandler>());
    service.AddMessageHandlerV2(std::make_shared<GetUniqueExportPluginsHandler>(realm));
    service.AddMessageHandlerV2(std::make_shared<GetProfilesHandler>());
}

}  // namespace

po::options_description SchedulerService::GetServiceOptions() {
    po::options_description options(kOptionLineLength, kOptionDescriptionLength);
    options.add_options()(Options::EnableOldHALPrototype.data(),
                          po::value<bool>(&m_enableOldHALPrototype)->default_value(false));
    return options;
}

std::string SchedulerService::GetServiceName() {
    return std::string(ServiceNames::Scheduler);
}

std::int32_t SchedulerService::GetServiceVersion() {
    return kServiceVersion;
}

bool SchedulerService::RegisterErrors(ServiceInfoPointer serviceInfo) {
    serviceInfo->AssignErrorCodes(ServiceErrorCodes());
    return true;
}

bool SchedulerService::RegisterServiceMessageHandlers(ServiceInfoPointer serviceInfo,
                                                      BusConnectionPointer busConnection,
                                                      bool /*enableOldHALPrototype*/) {
    RegisterSubmissions(*serviceInfo, busConnection,
                        std::make_index_sequence<SubmitOperations::kAll.size()>());
    RegisterOtherMessages(*serviceInfo, busConnection, serviceInfo->GetRealm());
    return true;
}

}  // namespace Weftline::Services::Scheduler
