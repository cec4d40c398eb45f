// The life of a service from its command line to its exit code.

#include "service/RunScheduler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/program_options/options_description.hpp>
#include <boost/program_options/value_semantic.hpp>
#include <functional>
#include <iostream>
#include <stdexcept>

#include "platform/messaging/BusConnection.h"
#include "platform/messaging/BusTransport.h"
#include "platform/messaging/ConfigurationStore.h"
#include "platform/stores/StoreChoice.h"
#include "service/ServiceBase.h"
#include "tests/messaging/FunctionHandlers.h"
#include "tests/stores/TempDirectory.h"
#include "tests/support/ConsoleCapture.h"
#include "tests/support/FakeBusMessaging.h"

namespace Weftline::Services {
namespace {

namespace Messaging = PlatformAbstraction::Messaging;
using PlatformAbstraction::GetConfigData;
using testing::EndsWith;

/// What the service and its bus are to fail at, and what they were asked for, in that order.
struct LifeScript {
    std::string failing;          ///< names of steps, each with a blank behind it
    std::function<void()> raise;  ///< what a failing step does before it says so
    std::string journal = {};

    void Note(const std::string& step) { journal += step + " "; }
    bool Goes(const std::string& step) const {
        const bool fails = (" " + failing).find(" " + step + " ") != std::string::npos;
        return fails ? raise(), false : true;
    }
    bool Does(const std::string& step) { return Note(step), Goes(step); }
};

LifeScript script;  // of the life under way

/// A bus that follows the script. It ends by itself while it is waited for, and at the latest when it is
/// stopped.
class ScriptedTransport final : public Messaging::BusTransport {
public:
    ScriptedTransport() { script.Note("made"); }
    ~ScriptedTransport() override { script.Note("bus-gone"); }

    Messaging::InitError Start(std::shared_ptr<Messaging::ServiceInfoApi> service,
                               const std::string& configuration) override {
        script.Note("start(" + service->GetName() + " " + service->GetRealm() + " " +
                    std::to_string(service->GetVersion()) + " " + service->GetHost() + " " + configuration +
                    ")");
        m_running = script.Does("alive");
        return Messaging::InitError::None;
    }
    bool IsRunning() const override { return m_running; }
    bool WaitUntilStopped() override {
        m_running = !script.Goes("end");
        return script.Does("wait");
    }
    Messaging::TermError Stop() override {
        m_running = !script.Goes("death") && !std::exchange(m_stopped, true);
        return script.Does("stop") ? Messaging::TermError::None : Messaging::TermError::Failed;
    }
    std::shared_ptr<Messaging::BusMessaging> GetMessaging() const override {
        return std::make_shared<TestSupport::FakeBusMessaging>();
    }

private:
    bool m_running = false;
    bool m_stopped = false;
};

/// A service that follows the script.
class ScriptedService final : public ServiceBase {
public:
    ~ScriptedService() override { script.Note("deleted"); }

    bool ServiceInfoReadyAction(ServiceInfoPointer /*serviceInfo*/) override { return script.Does("ready"); }
    bool AfterPlatformRunningStartupAction(BusConnectionPointer busConnection) override {
        return script.Does(busConnection->IsRunning() ? "running" : "not-running");
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
        return script.Does(serviceInfo->GetEventStore() ? "errors" : "errors-without-events");
    }
    bool RegisterServiceMessageHandlers(ServiceInfoPointer serviceInfo, BusConnectionPointer busConnection,
                                        bool enableOldHALPrototype) override {
        // Does nothing but hold the connection, as the handlers of a real service do.
        serviceInfo->AddMessageHandlerV2(std::make_shared<TestSupport::FunctionHandlerV2>(
            TestSupport::Registration("hold"),
            [busConnection](const auto&, const auto&) { return CoreServices::Parameters(); }));
        if (!script.Goes("name")) {
            serviceInfo->m_Name.clear();
        }
        return script.Does(enableOldHALPrototype ? "handlers-old" : "handlers");
    }
};

class RunSchedulerTest : public testing::Test {
protected:
    ~RunSchedulerTest() override {
        CommonServices::StoreChoice::SetEvents(nullptr);
        CommonServices::StoreChoice::SetRecords(nullptr);
    }

    /// A process whose bus and service follow the script, with a store of its own. Gives the exit code.
    int Run(
        const std::string& failing, std::vector<const char*> arguments = {},
        const std::function<void()>& raise = [] {}) {
        script = {failing, raise};
        PlatformAbstraction::ConfigDataSecureKeys().clear();
        Messaging::OfferDeploymentMode("scripted", [] { return std::make_unique<ScriptedTransport>(); });
        const std::string store = "--mongo-uri=" + m_address;
        arguments.insert(arguments.begin(), {"quillon-scheduler", "--deploy=scripted", store.c_str()});
        const TestSupport::ConsoleCapture output(std::cout);
        const TestSupport::ConsoleCapture errors(std::cerr);
        const int exitCode = RunScheduler(static_cast<int>(arguments.size()), arguments.data(),
                                          [&] { return m_service = new ScriptedService; });
        m_output = output.Text();
        m_errors = errors.Text();
        return exitCode;
    }

    const TempDirectory m_directory;
    const std::string m_address = "sqlite:" + m_directory.File("store.db");
    ServiceBase* m_service = nullptr;
    std::string m_output;
    std::string m_errors;
};

TEST_F(RunSchedulerTest, ANormalLifeDoesEachStepInItsOrderWithTheOptionsGiven) {
    const int exitCode =
        Run("", {"--config=bus.json", "--realm=blue", "--version=7", "--enableOldHALPrototype=true", "--host",
                 "farm", "--port", "1234", "--mongo-db=a b"});
    EXPECT_EQ(exitCode, 0);
    EXPECT_EQ(m_errors, "");
    EXPECT_EQ(
        script.journal,
        "ready made errors handlers-old start(scripted.service blue 7 farm bus.json) alive running wait "
        "bus-gone deleted ");
    EXPECT_EQ(GetConfigData()["mongo-uri"], m_address);
    EXPECT_EQ(GetConfigData()["port"] + GetConfigData()["mongo-db"], "1234a");
    EXPECT_EQ(GetConfigData().count("config") + GetConfigData().count("version"), 0U);
    EXPECT_THAT(PlatformAbstraction::ConfigDataSecureKeys(),
                testing::ElementsAre("config", "quota", "mongo-uri"));
}

TEST_F(RunSchedulerTest, AFailingStepIsNamedAndEndsTheProcessWithItsCode) {
    // The steps that fail; the exit code; the step and the reason that the operator reads; the journal's end.
    // Where a bus was made, the service is deleted with it still in its hands; one that runs is stopped.
    const std::string service = "m_pMessagingService->";
    const std::tuple<std::string, int, std::string, std::string, std::string> rows[] = {
        {"ready ", -1, "Init", "", "ready deleted "},
        {"errors ", -2, "Startup", "RegisterErrors() failed", "errors deleted bus-gone "},
        {"handlers ", -2, "Startup", "RegisterServiceMessageHandlers() failed", "handlers deleted bus-gone "},
        {"name ", -2, "Startup", service + "AssignServiceInfo() failed", "handlers deleted bus-gone "},
        {"alive ", -2, "Startup", service + "IsRunning() failed", "alive deleted bus-gone "},
        {"running ", -2, "Startup", "AfterPlatformRunningStartupAction() failed", "deleted stop bus-gone "},
        {"end stop ", -3, "Shutdown", service + "Terminate() failed", "wait stop deleted bus-gone "},
        {"end death ", -4, "Term", service + "IsRunning() STILL TRUE!", "wait stop deleted stop bus-gone "},
        {"wait ", -999, "", "", "wait bus-gone deleted "},
    };
    for (const auto& [failing, exitCode, step, reason, end] : rows) {
        EXPECT_EQ(Run(failing), exitCode) << failing;
        EXPECT_THAT(m_output, EndsWith(reason.empty() ? "\n" : "\nServiceBase::" + step + "() " + reason));
        EXPECT_EQ(m_errors,
                  step.empty() ? "" : "\nScheduler Service main pSchedulerService->" + step + "() failed");
        EXPECT_THAT(script.journal, EndsWith(end)) << failing;
    }
}

TEST_F(RunSchedulerTest, AnExceptionEndsTheProcessAndLeavesTheServiceAlone) {
    const std::tuple<std::function<void()>, int, std::string> rows[] = {
        {[] { throw std::range_error("far"); }, 101, "MESS: runtime error has occurred - far\n"},
        {[] { throw std::logic_error("odd"); }, 102, "MESS: exception has occurred - odd\n"},
        {[] { throw 7; }, 103, "MESS: Unexpected exception occurred!\n"},
    };
    for (const auto& [raise, exitCode, text] : rows) {
        EXPECT_EQ(Run("running ", {}, raise), exitCode);
        EXPECT_THAT(m_output, EndsWith("\n\n" + text));
        EXPECT_EQ(m_errors, "");
        EXPECT_THAT(script.journal, EndsWith("running "));
        delete m_service;
    }
}

}  // namespace
}  // namespace Weftline::Services
