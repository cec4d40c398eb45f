#include "ScriptedService.h"

#include <boost/program_options/options_description.hpp>
#include <boost/program_options/value_semantic.hpp>
#include <utility>

#include "BusConnection.h"
#include "DeploymentMode.h"
#include "FakeBusMessaging.h"
#include "RegParamsBuilder.h"
#include "ServiceInfoApi.h"
#include "ServiceMessageHandlerV2.h"

namespace Weftline::Services {

namespace {

namespace Messaging = PlatformAbstraction::Messaging;

/// Does nothing but hold the connection, as the handlers of a real service do.
class HoldingHandler final : public Messaging::ServiceMessageHandlerV2 {
public:
    explicit HoldingHandler(ServiceBase::BusConnectionPointer connection)
        : m_pConnection(std::move(connection)) {}
    PlatformAbstraction::RegistrationParams GetRegistrationParams() const override {
        return PlatformAbstraction::RegParamsBuilder().SetName("hold").GetResult();
    }
    CoreServices::Parameters HandleMessageV2(
        const CoreServices::Parameters& /*request*/,
        std::shared_ptr<Messaging::MessageContext> /*context*/) override {
        return {};
    }

private:
    const ServiceBase::BusConnectionPointer m_pConnection;
};

class ScriptedTransport final : public Messaging::BusTransport {
public:
    explicit ScriptedTransport(std::shared_ptr<LifeScript> script) : m_pScript(std::move(script)) {
        Note("bus made");
    }
    ScriptedTransport(const ScriptedTransport&) = delete;
    ScriptedTransport& operator=(const ScriptedTransport&) = delete;
    ~ScriptedTransport() override { Note("bus gone"); }

    Messaging::InitError Start(std::shared_ptr<Messaging::ServiceInfoApi> service,
                               const std::string& configuration) override {
        Note("start " + service->GetName() + " " + service->GetRealm() + " " +
             std::to_string(service->GetVersion()) + " at " + service->GetHost() + " with " + configuration);
        m_running = m_pScript->runsAfterStart;
        return m_pScript->startError;
    }
    bool IsRunning() const override { return m_running; }
    bool WaitUntilStopped() override {
        Note("wait");
        m_running = m_pScript->runsAfterWait;
        return m_pScript->stopsNormally;
    }
    Messaging::TermError Stop() override {
        Note("stop");
        m_running = std::exchange(m_pScript->runsAfterStop, false);
        return m_pScript->stopError;
    }
    std::shared_ptr<Messaging::BusMessaging> GetMessaging() const override {
        return std::make_shared<TestSupport::FakeBusMessaging>();
    }

private:
    void Note(std::string what) { m_pScript->journal.push_back(std::move(what)); }

    const std::shared_ptr<LifeScript> m_pScript;
    bool m_running = false;
};

}  // namespace

void OfferScriptedBus(std::shared_ptr<LifeScript> script) {
    Messaging::OfferDeploymentMode(kScriptedMode,
                                   [script] { return std::make_unique<ScriptedTransport>(script); });
}

ScriptedService::ScriptedService(std::shared_ptr<LifeScript> script) : m_pScript(std::move(script)) {}

ScriptedService::~ScriptedService() {
    m_pScript->journal.emplace_back("deleted");
}

bool ScriptedService::ServiceInfoReadyAction(ServiceInfoPointer serviceInfo) {
    m_pScript->journal.push_back("described as \"" + serviceInfo->GetName() + "\"");
    return m_pScript->onReady();
}

bool ScriptedService::AfterPlatformRunningStartupAction(BusConnectionPointer busConnection) {
    m_pScript->journal.emplace_back(busConnection->IsRunning() ? "running" : "not running");
    return m_pScript->onRunning();
}

boost::program_options::options_description ScriptedService::GetServiceOptions() {
    boost::program_options::options_description options;
    options.add_options()("enableOldHALPrototype",
                          boost::program_options::value<bool>()->default_value(false));
    return options;
}

std::string ScriptedService::GetServiceName() {
    return "scripted.service";
}

std::int32_t ScriptedService::GetServiceVersion() {
    return 3;
}

bool ScriptedService::RegisterErrors(ServiceInfoPointer serviceInfo) {
    m_pScript->journal.emplace_back(serviceInfo->GetEventStore() ? "errors" : "errors without event store");
    return m_pScript->onErrors();
}

bool ScriptedService::RegisterServiceMessageHandlers(ServiceInfoPointer serviceInfo,
                                                     BusConnectionPointer busConnection,
                                                     bool enableOldHALPrototype) {
    m_pScript->journal.push_back(std::string(enableOldHALPrototype ? "old " : "") + "handlers" +
                                 (busConnection && !busConnection->IsRunning() ? "" : " too late"));
    serviceInfo->AddMessageHandlerV2(std::make_shared<HoldingHandler>(busConnection));
    return m_pScript->onHandlers(*serviceInfo);
}

}  // namespace Weftline::Services
