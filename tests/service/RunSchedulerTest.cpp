#include "service/RunScheduler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <stdexcept>

#include "platform/messaging/BusTransport.h"
#include "platform/messaging/ConfigurationStore.h"
#include "platform/stores/StoreChoice.h"
#include "service/ServiceOptions.h"
#include "tests/service/EnvironmentVariable.h"
#include "tests/service/ScriptedService.h"
#include "tests/stores/TempDirectory.h"
#include "tests/support/ConsoleCapture.h"

namespace Weftline::Services {
namespace {

using PlatformAbstraction::GetConfigData;
using testing::EndsWith;
using testing::HasSubstr;

struct Outcome {
    int exitCode = 0;
    std::string output;
    std::string errors;
    ServiceBase* service = nullptr;
};

class RunSchedulerTest : public testing::Test {
protected:
    ~RunSchedulerTest() override {
        CommonServices::StoreChoice::SetEvents(nullptr);
        CommonServices::StoreChoice::SetRecords(nullptr);
    }

    /// A process whose bus and service follow the script, with a store of its own.
    Outcome Run(const std::vector<std::string>& arguments, LifeScript script) {
        *m_pScript = std::move(script);
        PlatformAbstraction::ConfigDataSecureKeys().clear();
        Messaging::OfferDeploymentMode("scripted",
                                       [this] { return std::make_unique<ScriptedTransport>(m_pScript); });
        const EnvironmentVariable deploy("zrf_deploy", "scripted");
        const EnvironmentVariable store("zrf_mongo-uri", m_address);
        std::vector<const char*> argv = {"quillon-scheduler"};
        for (const std::string& argument : arguments) {
            argv.push_back(argument.c_str());
        }
        Outcome outcome;
        const TestSupport::ConsoleCapture output(std::cout);
        const TestSupport::ConsoleCapture errors(std::cerr);
        outcome.exitCode = RunScheduler(static_cast<int>(argv.size()), argv.data(),
                                        [&] { return outcome.service = new ScriptedService(m_pScript); });
        outcome.output = output.Text();
        outcome.errors = errors.Text();
        return outcome;
    }

    const TempDirectory m_directory;
    const std::string m_address = "sqlite:" + m_directory.File("store.db");
    const LifeScriptPointer m_pScript = std::make_shared<LifeScript>();
};

TEST_F(RunSchedulerTest, ANormalLifeDoesEachStepInItsOrderWithTheOptionsGiven) {
    const Outcome life =
        Run({"--config=bus.json", "--realm=blue", "--version=7", "--enableOldHALPrototype=true", "--host",
             "farm", "--port", "1234", "--mongo-db=a b", "--nonsense=1"},
            {});
    EXPECT_EQ(life.exitCode, 0);
    EXPECT_THAT(life.output, testing::StartsWith("\nExecutable: quillon-scheduler\n"));
    EXPECT_THAT(life.output, HasSubstr("\n\tmongo-uri = ********\n\tport = 1234\n\trealm = blue\n"));
    EXPECT_EQ(life.errors, "");
    EXPECT_EQ(
        m_pScript->journal,
        "ready made errors handlers-old start(scripted.service blue 7 farm bus.json) alive running wait "
        "bus-gone deleted ");
    EXPECT_EQ(GetConfigData()["mongo-uri"], m_address);
    EXPECT_EQ(GetConfigData()["port"] + GetConfigData()["mongo-db"], "1234a");
    EXPECT_EQ(GetConfigData().count("config") + GetConfigData().count("version"), 0U);
    EXPECT_THAT(PlatformAbstraction::ConfigDataSecureKeys(),
                testing::ElementsAre("config", "quota", "mongo-uri"));
}

TEST_F(RunSchedulerTest, AFailingStepIsNamedAndEndsTheProcessWithItsCode) {
    // The steps that fail, each with a blank behind it; the exit code; the step and the text that the
    // operator reads; the end of the journal.
    using Row = std::tuple<std::string, int, std::string, std::string, std::string>;
    const std::string init = "Init() failed";
    const std::string start = "Startup() failed";
    const std::string startup = "\nServiceBase::Startup() ";
    // Where a bus was made, the service is deleted with it still in its hands; one that runs is stopped.
    const std::string service = "m_pMessagingService->";
    const std::string late = "wait stop deleted ";
    const Row rows[] = {
        {"ready ", -1, init, "\nEnvironment variables listing skipped.\n", "ready deleted "},
        {"errors ", -2, start, startup + "RegisterErrors() failed", "errors deleted bus-gone "},
        {"handlers ", -2, start, startup + "RegisterServiceMessageHandlers() failed",
         "handlers deleted bus-gone "},
        {"name ", -2, start, startup + service + "AssignServiceInfo() failed", "handlers deleted bus-gone "},
        {"alive ", -2, start, startup + service + "IsRunning() failed", "alive deleted bus-gone "},
        {"running ", -2, start, startup + "AfterPlatformRunningStartupAction() failed",
         "running deleted stop bus-gone "},
        {"end stop ", -3, "Shutdown() failed", "\nServiceBase::Shutdown() " + service + "Terminate() failed",
         late + "bus-gone "},
        {"end death ", -4, "Term() failed", "\nServiceBase::Term() " + service + "IsRunning() STILL TRUE!",
         late + "stop bus-gone "},
        {"wait ", -999, "", "", "wait bus-gone deleted "},
    };
    for (const auto& [failing, exitCode, step, text, end] : rows) {
        SCOPED_TRACE(failing);
        const Outcome life = Run({}, {.failing = failing});
        EXPECT_EQ(life.exitCode, exitCode);
        EXPECT_THAT(life.output, EndsWith(text));
        EXPECT_EQ(life.errors, step.empty() ? "" : "\nScheduler Service main pSchedulerService->" + step);
        EXPECT_THAT(m_pScript->journal, EndsWith(end));
    }
}

TEST_F(RunSchedulerTest, AnExceptionEndsTheProcessAndLeavesTheServiceAlone) {
    const std::tuple<std::function<void()>, int, std::string> rows[] = {
        {[] { throw std::range_error("far"); }, 101, "MESS: runtime error has occurred - far\n"},
        {[] { throw std::logic_error("odd"); }, 102, "MESS: exception has occurred - odd\n"},
        {[] { throw 7; }, 103, "MESS: Unexpected exception occurred!\n"},
    };
    for (const auto& [raise, exitCode, text] : rows) {
        const Outcome life = Run({}, {.failing = "running ", .raise = raise});
        EXPECT_EQ(life.exitCode, exitCode);
        EXPECT_THAT(life.output, EndsWith("\n\n" + text));
        EXPECT_EQ(life.errors, "");
        EXPECT_THAT(m_pScript->journal, EndsWith("running "));
        delete life.service;
    }
}

}  // namespace
}  // namespace Weftline::Services
