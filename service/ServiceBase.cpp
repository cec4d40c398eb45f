#include "service/ServiceBase.h"

#include <boost/any.hpp>
#include <boost/program_options/options_description.hpp>
#include <boost/program_options/variables_map.hpp>
#include <iostream>
#include <map>
#include <string_view>
#include <utility>

#include "Core/src/Vocabulary.h"
#include "base/parameters/Parameters.h"
#include "platform/messaging/BusConnection.h"
#include "platform/messaging/BusTransport.h"
#include "platform/messaging/ConfigurationStore.h"
#include "platform/messaging/ServiceInfo.h"
#include "platform/stores/EventStore.h"
#include "platform/stores/ObjectStore.h"
#include "service/ServiceOptions.h"

namespace Weftline::Services {

namespace {

namespace po = boost::program_options;
namespace Messaging = PlatformAbstraction::Messaging;

constexpr char kEnvironmentPrefix[] = "zrf_";
constexpr std::int32_t kBusBroke = -999;

// The operator reads the text on standard output. It has no line end: the next line begins with its own.
bool Fail(std::string_view text) {
    std::cout << text;
    return false;
}

bool FailToInitialize(Messaging::InitError error) {
    return Fail("\nServiceBase::Startup() m_pMessagingService->Initialize() failed with error: " +
                Messaging::BusConnection::InitErrorToStr(error));
}

// A faulty option leaves an entry without a value behind, which counts as absent.
template <class Value>
Value OptionOr(const po::variables_map& options, std::string_view name, Value otherwise) {
    const auto found = options.find(std::string(name));
    if (found == options.end()) {
        return otherwise;
    }
    const auto* const value = boost::any_cast<Value>(&found->second.value());
    return value == nullptr ? otherwise : *value;
}

std::string SettingOf(const std::map<std::string, std::string>& settings, std::string_view name) {
    const auto found = settings.find(std::string(name));
    return found == settings.end() ? std::string() : found->second;
}

}  // namespace

ServiceBase::ServiceBase() = default;

ServiceBase::~ServiceBase() {
    if (m_pMessagingService) {
        m_pMessagingService->Terminate(0);
    }
}

// A derived service keeps what it is given, so both take shares of their own.
// NOLINTBEGIN(performance-unnecessary-value-param)
bool ServiceBase::ServiceInfoReadyAction(ServiceInfoPointer /*serviceInfo*/) {
    return true;
}

bool ServiceBase::AfterPlatformRunningStartupAction(BusConnectionPointer /*busConnection*/) {
    return true;
}
// NOLINTEND(performance-unnecessary-value-param)

bool ServiceBase::Init() {
    m_ServiceInfo = Messaging::ConstructServiceInfo();
    return ServiceInfoReadyAction(m_ServiceInfo);
}

bool ServiceBase::Startup(const char* commandLine) {
    const po::variables_map options = ParseProgramOptions(commandLine);
    const auto busConfiguration = OptionOr<std::string>(options, Options::Config, "");
    const bool enableOldHALPrototype = OptionOr(options, Options::EnableOldHALPrototype, false);
    StoreStartupParameters(options, std::cout);

    // Messages arrive as soon as the bus is started: by then the stores are open and the handlers complete.
    if (!CheckServiceName() || !MakeConnectionAndStores(busConfiguration) ||
        !RegisterService(enableOldHALPrototype) || !StartBus(busConfiguration)) {
        return false;
    }
    if (!AfterPlatformRunningStartupAction(m_pMessagingService)) {
        return Fail("\nServiceBase::Startup() AfterPlatformRunningStartupAction() failed");
    }
    return true;
}

po::variables_map ServiceBase::ParseProgramOptions(const char* commandLine) {
    po::variables_map options;
    po::options_description description;
    DescribedService described;
    AddBaseOptions(description, GetServiceName(), GetServiceVersion(), described);
    description.add(GetServiceOptions());

    auto& secureKeys = PlatformAbstraction::ConfigDataSecureKeys();
    // "quota" is no option of ours; the list is for the whole process.
    for (const std::string_view key : {Options::Config, std::string_view("quota"), Options::MongoUri}) {
        secureKeys.emplace_back(key);
    }

    // A bad command line needs no look at the result: it leaves the name empty, and so stops the start.
    ParseOptions(commandLine, description, options,
                 {.commandLine = true, .environment = true, .environmentPrefix = kEnvironmentPrefix});

    m_ServiceInfo->SetNameRealmVersion(described.name, described.realm, described.version);
    m_ServiceInfo->SetHost(described.host);
    return options;
}

bool ServiceBase::CheckServiceName() {
    const std::string name = m_ServiceInfo->GetName();
    if (name.empty()) {
        return Fail("\nServiceBase::Startup() m_ServiceInfo.m_Name is empty()");
    }
    if (name != GetServiceName()) {
        return Fail("\nServiceBase::Startup() m_ServiceInfo.m_Name is NOT == " + GetServiceName());
    }
    return true;
}

bool ServiceBase::MakeConnectionAndStores(const std::string& busConfiguration) {
    const auto settings = PlatformAbstraction::GetConfigData();
    m_DeployMode = SettingOf(settings, Options::Deploy);
    if (!Messaging::InitializeDeploymentMode(m_DeployMode)) {
        return Fail("\nServiceBase::Startup() InitializeDeploymentMode() failed");
    }
    m_pMessagingService = std::make_shared<Messaging::BusConnection>();
    if (const auto error = m_pMessagingService->ReadSettings(busConfiguration);
        error != Messaging::InitError::None) {
        return FailToInitialize(error);
    }

    const std::string suffix = MakeStoreSuffix(SettingOf(settings, Options::Realm));
    if (!CommonServices::ObjectStore::Init(SettingOf(settings, Options::Deploy),
                                           SettingOf(settings, Options::MongoDb),
                                           SettingOf(settings, Options::MongoUri), suffix)) {
        return Fail("\nServiceBase::Startup() ObjectStoreService::InitObjectStore() failed");
    }
    m_ServiceInfo->SetEventStore(std::make_shared<CommonServices::EventStore>(CoreServices::Parameters()));
    return true;
}

bool ServiceBase::RegisterService(bool enableOldHALPrototype) {
    if (!RegisterErrors(m_ServiceInfo)) {
        return Fail("\nServiceBase::Startup() RegisterErrors() failed");
    }
    if (!RegisterServiceMessageHandlers(m_ServiceInfo, m_pMessagingService, enableOldHALPrototype)) {
        return Fail("\nServiceBase::Startup() RegisterServiceMessageHandlers() failed");
    }
    return true;
}

bool ServiceBase::StartBus(const std::string& busConfiguration) {
    if (!m_pMessagingService->AssignServiceInfo(m_ServiceInfo)) {
        return Fail("\nServiceBase::Startup() m_pMessagingService->AssignServiceInfo() failed");
    }
    const auto error = m_pMessagingService->Initialize(busConfiguration, "");
    if (error != Messaging::InitError::None) {
        return FailToInitialize(error);
    }
    if (!m_pMessagingService->IsRunning()) {
        return Fail("\nServiceBase::Startup() m_pMessagingService->IsRunning() failed");
    }
    return true;
}

std::int32_t ServiceBase::WaitUntilBusStops() {
    return m_pMessagingService->WaitUntilBusStops() ? 0 : kBusBroke;
}

bool ServiceBase::Shutdown() {
    if (!m_pMessagingService || !m_pMessagingService->IsRunning()) {
        return true;
    }
    if (m_pMessagingService->Terminate(0) != Messaging::TermError::None) {
        return Fail("\nServiceBase::Shutdown() m_pMessagingService->Terminate() failed");
    }
    return true;
}

bool ServiceBase::Term() {
    if (!m_pMessagingService) {
        return true;
    }
    if (m_pMessagingService->IsRunning()) {
        return Fail("\nServiceBase::Term() m_pMessagingService->IsRunning() STILL TRUE!");
    }
    m_pMessagingService.reset();
    return true;
}

}  // namespace Weftline::Services
