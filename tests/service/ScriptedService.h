#pragma once

#include <boost/program_options/options_description.hpp>
#include <boost/program_options/value_semantic.hpp>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/messaging/BusConnection.h"
#include "platform/messaging/ServiceInfoApi.h"
#include "service/ServiceBase.h"
#include "tests/messaging/FunctionHandlers.h"
#include "tests/support/FakeBusMessaging.h"

namespace Weftline::Services {

namespace Messaging = PlatformAbstraction::Messaging;

/// How a service and its bus are to behave, and what they were asked for, in that order. Shared by the two.
struct LifeScript {
    std::function<bool()> onReady = [] { return true; };
    std::function<bool()> onErrors = [] { return true; };
    std::function<bool(Messaging::ServiceInfoApi& serviceInfo)> onHandlers = [](auto&) { return true; };
    std::function<bool()> onRunning = [] { return true; };

    Messaging::InitError startError = Messaging::InitError::None;
    bool runsAfterStart = true;
    bool stopsNormally = true;
    bool runsAfterWait = false;
    Messaging::TermError stopError = Messaging::TermError::None;
    bool runsAfterStop = false;  // the first one

    std::vector<std::string> journal;
};

using LifeScriptPointer = std::shared_ptr<LifeScript>;

/// A bus that follows the script.
class ScriptedTransport final : public Messaging::BusTransport {
public:
    explicit ScriptedTransport(LifeScriptPointer script) : m_pScript(std::move(script)) { Note("bus made"); }
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

    const LifeScriptPointer m_pScript;
    bool m_running = false;
};

/// A service that follows the script.
class ScriptedService final : public ServiceBase {
public:
    explicit ScriptedService(LifeScriptPointer script) : m_pScript(std::move(script)) {}
    ScriptedService(const ScriptedService&) = delete;
    ScriptedService& operator=(const ScriptedService&) = delete;
    ~ScriptedService() override { Note("deleted"); }

    bool ServiceInfoReadyAction(ServiceInfoPointer serviceInfo) override {
        Note("described as \"" + serviceInfo->GetName() + "\"");
        return m_pScript->onReady();
    }
    bool AfterPlatformRunningStartupAction(BusConnectionPointer busConnection) override {
        Note(busConnection->IsRunning() ? "running" : "not running");
        return m_pScript->onRunning();
    }
    boost::program_options::options_description GetServiceOptions() override {
        boost::program_options::options_description options;
        options.add_options()("enableOldHALPrototype",
                              boost::program_options::value<bool>()->default_value(false));
        return options;
    }
    std::string GetServiceName() override { return "scripted.service"; }
    std::int32_t GetServiceVersion() override { return 3; }
    bool RegisterErrors(ServiceInfoPointer serviceInfo) override {
        Note(serviceInfo->GetEventStore() ? "errors" : "errors without event store");
        return m_pScript->onErrors();
    }
    bool RegisterServiceMessageHandlers(ServiceInfoPointer serviceInfo, BusConnectionPointer busConnection,
                                        bool enableOldHALPrototype) override {
        Note(std::string(enableOldHALPrototype ? "old " : "") + "handlers" +
             (busConnection && !busConnection->IsRunning() ? "" : " too late"));
        // Does nothing but hold the connection, as the handlers of a real service do.
        serviceInfo->AddMessageHandlerV2(std::make_shared<TestSupport::FunctionHandlerV2>(
            TestSupport::Registration("hold"),
            [busConnection](const auto&, const auto&) { return CoreServices::Parameters(); }));
        return m_pScript->onHandlers(*serviceInfo);
    }

private:
    void Note(std::string what) { m_pScript->journal.push_back(std::move(what)); }

    const LifeScriptPointer m_pScript;
};

}  // namespace Weftline::Services
