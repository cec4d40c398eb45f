#include "SchedulerService.h"

#include <boost/program_options/options_description.hpp>
#include <boost/program_options/value_semantic.hpp>
#include <memory>
#include <utility>
#include <vector>

#include "BusConnection.h"
#include "ErrorCode.h"
#include "JobKinds.h"
#include "ServiceInfoApi.h"
#include "SubmitAudioFormatsQueryHandler.h"
#include "SubmitConsolidateHandler.h"
#include "SubmitDataExtractHandler.h"
#include "SubmitDynamicRelinkHandler.h"
#include "SubmitExportHandler.h"
#include "SubmitExportQueryHandler.h"
#include "SubmitMixdownHandler.h"
#include "SubmitMobIDsFromContainerQueryHandler.h"
#include "SubmitOpJobInfo.h"
#include "SubmitProxyCreationHandler.h"
#include "SubmitRenderHandler.h"
#include "SubmitSourceAvailabilityQueryHandler.h"
#include "SubmitSuitableMastersQueryHandler.h"
#include "SubmitTranscodeHandler.h"
#include "SubmitVerifyAccessHandler.h"
#include "SubmitVideoFormatsQueryHandler.h"
#include "Vocabulary.h"

namespace Weftline::Services::Scheduler {

namespace {

namespace po = boost::program_options;
using PlatformAbstraction::Messaging::ErrorCode;
using PlatformAbstraction::Messaging::SubmitOpJobInfo;

constexpr std::int32_t kServiceVersion = 2;
constexpr unsigned kOptionLineLength = 80;
constexpr unsigned kOptionDescriptionLength = 40;

// The errors that the service announces. There are none: the codes of single handlers are not announced.
const std::vector<ErrorCode>& ServiceErrorCodes() {
    static const std::vector<ErrorCode> codes;
    return codes;
}

SubmitOpJobInfo JobInfoOf(const SubmitOperations::Row& row) {
    return {std::string(row.jobKind), std::string(row.evalTaskKind), std::string(row.name),
            row.failJobDefault};
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
    const auto add = [&](std::shared_ptr<SubmitMessageHandler> handler,
                         const SubmitOperations::Row& operation) {
        serviceInfo->AddSubmitMessageHandler(std::move(handler), JobInfoOf(operation));
    };
    add(std::make_shared<SubmitTranscodeHandler>(busConnection), SubmitOperations::kTranscode);
    add(std::make_shared<SubmitConsolidateHandler>(busConnection), SubmitOperations::kConsolidate);
    add(std::make_shared<SubmitMixdownHandler>(busConnection), SubmitOperations::kMixdown);
    add(std::make_shared<SubmitRenderHandler>(busConnection), SubmitOperations::kRender);
    add(std::make_shared<SubmitExportHandler>(busConnection), SubmitOperations::kExport);
    add(std::make_shared<SubmitDataExtractHandler>(busConnection), SubmitOperations::kDataExtract);
    add(std::make_shared<SubmitProxyCreationHandler>(busConnection), SubmitOperations::kProxyCreation);
    add(std::make_shared<SubmitDynamicRelinkHandler>(busConnection), SubmitOperations::kDynamicRelink);
    add(std::make_shared<SubmitVerifyAccessHandler>(busConnection), SubmitOperations::kVerifyAccess);
    add(std::make_shared<SubmitExportQueryHandler>(busConnection), SubmitOperations::kExportQuery);
    add(std::make_shared<SubmitVideoFormatsQueryHandler>(busConnection),
        SubmitOperations::kVideoFormatsQuery);
    add(std::make_shared<SubmitAudioFormatsQueryHandler>(busConnection),
        SubmitOperations::kAudioFormatsQuery);
    add(std::make_shared<SubmitSourceAvailabilityQueryHandler>(busConnection),
        SubmitOperations::kSourceAvailability);
    add(std::make_shared<SubmitMobIDsFromContainerQueryHandler>(busConnection),
        SubmitOperations::kMobIDsFromContainer);
    add(std::make_shared<SubmitSuitableMastersQueryHandler>(busConnection),
        SubmitOperations::kSuitableMastersQuery);
    return true;
}

}  // namespace Weftline::Services::Scheduler
