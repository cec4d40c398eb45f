#pragma once

#include <boost/program_options/options_description.hpp>
#include <boost/program_options/value_semantic.hpp>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "platform/messaging/BusConnection.h"
#include "platform/messaging/ServiceInfo.h"
#include "service/ServiceBase.h"
#include "tests/messaging/FunctionHandlers.h"
#include "tests/support/FakeBusMessaging.h"

namespace Weftline::Services {

namespace Messaging = PlatformAbstraction::Messaging;

/// What a service and its bus are to fail at, and what they were asked for, in that order. Shared by the two.
struct LifeScript {
    std::string failing = {};             ///< names of steps, each with a blank behind it
    std::function<void()> raise = [] {};  ///< what a failing step does before it says so
    std::string journal = {};

    void Note(const std::string& step) { journal += step + " "; }
    bool Goes(const std::string& step) const {
        if ((" " + failing).find(" " + step + " ") == std::string::npos) {
            return true;
        }
        raise();
        return false;
    }
    bool Does(const std::string& step) {
        Note(step);
        return Goes(step);
    }
};

using LifeScriptPointer = std::shared_ptr<LifeScript>;

/// A bus that follows the script. It ends by itself while it is waited for, and at the latest when it is
/// stopped.
class ScriptedTransport final : public Messaging::BusTransport {
public:
    explicit ScriptedTransport(LifeScriptPointer script) : m_pScript(std::move(script)) {
        m_pScript->Note("made");
    }
    ScriptedTransport(const ScriptedTransport&) = delete;
    ScriptedTransport& operator=(const ScriptedTransport&) = delete;
    ~ScriptedTransport() override { m_pScript->Note("bus-gone"); }

    Messaging::InitError Start(std::shared_ptr<Messaging::ServiceInfoApi> service,
                               const std::string& configuration) override {
        m_pScript->Note("start(" + service->GetName() + " " + service->GetRealm() + " " +
                        std::to_string(service->GetVersion()) + " " + service->GetHost() + " " +
                        configuration + ")");
        m_running = m_pScript->Does("alive");
        return Messaging::InitError::None;
    }
    bool IsRunning() const override { return m_running; }
    bool WaitUntilStopped() override {
        m_running = !m_pScript->Goes("end");
        return m_pScript->Does("wait");
    }
    Messaging::TermError Stop() override {
        m_running = !m_pScript->Goes("death") && !std::exchange(m_stopped, true);
        return m_pScript->Does("stop") ? Messaging::TermError::None : Messaging::TermError::Failed;
    }
    std::shared_ptr<Messaging::BusMessaging> GetMessaging() const override {
        return std::make_shared<TestSupport::FakeBusMessaging>();
    }

private:
    const LifeScriptPointer m_pScript;
    bool m_running = false;
    bool m_stopped = false;
};

/// A service that follows the script.
class ScriptedService final : public ServiceBase {
public:
    explicit ScriptedService(LifeScriptPointer script) : m_pScript(std::move(script)) {}
    ScriptedService(const ScriptedService&) = delete;
    ScriptedService& operator=(const ScriptedService&) = delete;
    ~ScriptedService() override { m_pScript->Note("deleted"); }

    bool ServiceInfoReadyAction(ServiceInfoPointer /*serviceInfo*/) override {
        return m_pScript->Does("ready");
    }
    bool AfterPlatformRunningStartupAction(BusConnectionPointer busConnection) override {
        return m_pScript->Does(busConnection->IsRunning() ? "running" : "not-running");
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
        return m_pScript->Does(serviceInfo->GetEventStore() ? "errors" : "errors-without-events");
    }
    bool RegisterServiceMessageHandlers(ServiceInfoPointer serviceInfo, BusConnectionPointer busConnection,
                                        bool enableOldHALPrototype) override {
        // Does nothing but hold the connection, as the handlers of a real service do.
        serviceInfo->AddMessageHandlerV2(std::make_shared<TestSupport::FunctionHandlerV2>(
            TestSupport::Registration("hold"),
            [busConnection](const auto&, const auto&) { return CoreServices::Parameters(); }));
        if (!m_pScript->Goes("name")) {
            serviceInfo->m_Name.clear();
        }
        return m_pScript->Does(enableOldHALPrototype ? "handlers-old" : "handlers");
    }

private:
    const LifeScriptPointer m_pScript;
};

}  // namespace Weftline::Services
