#include "service/RunScheduler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <stdexcept>

#include "platform/messaging/ConfigurationStore.h"
#include "platform/messaging/DeploymentMode.h"
#include "platform/stores/StoreChoice.h"
#include "service/ServiceOptions.h"
#include "tests/service/EnvironmentVariable.h"
#include "tests/service/ScriptedService.h"
#include "tests/stores/TempDirectory.h"
#include "tests/support/ConsoleCapture.h"

namespace Weftline::Services {
namespace {

using Messaging::InitError;
using Messaging::TermError;
using PlatformAbstraction::GetConfigData;
using testing::ElementsAre;
using testing::EndsWith;

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

    /// A process in which all goes well but for what `arrange` says; the bus is scripted, and the store its
    /// own.
    Outcome Run(
        const std::vector<std::string>& arguments,
        const std::function<void(LifeScript&)>& arrange = [](auto&) {}) {
        *m_pScript = LifeScript();
        arrange(*m_pScript);
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
    std::ptrdiff_t CountDeeds(const std::string& deed) const {
        return std::count(m_pScript->journal.begin(), m_pScript->journal.end(), deed);
    }

    const TempDirectory m_directory;
    const std::string m_address = "sqlite:" + m_directory.File("store.db");
    const LifeScriptPointer m_pScript = std::make_shared<LifeScript>();
};

TEST_F(RunSchedulerTest, ANormalLifeDoesEachStepInItsOrderWithTheOptionsGiven) {
    const Outcome life =
        Run({"--config=bus.json", "--realm=blue", "--version=7", "--enableOldHALPrototype=true", "--host",
             "farm", "--port", "1234", "--mongo-db=a b", "--nonsense=1"});
    EXPECT_EQ(life.exitCode, 0);
    EXPECT_THAT(life.output, testing::StartsWith("\nExecutable: quillon-scheduler\n"));
    EXPECT_THAT(life.output, testing::HasSubstr("\n\tmongo-uri = ********\n\tport = 1234\n\trealm = blue\n"));
    EXPECT_THAT(life.output, testing::Not(testing::HasSubstr("nonsense")));
    EXPECT_EQ(life.errors, "");
    EXPECT_THAT(m_pScript->journal, ElementsAre("described as \"\"", "bus made", "errors", "old handlers",
                                                "start scripted.service blue 7 at farm with bus.json",
                                                "running", "wait", "bus gone", "deleted"));
    EXPECT_EQ(GetConfigData()["mongo-uri"], m_address);
    EXPECT_EQ(GetConfigData()["port"] + GetConfigData()["mongo-db"], "1234a");
    EXPECT_EQ(GetConfigData().count("config") + GetConfigData().count("version"), 0U);
    EXPECT_THAT(PlatformAbstraction::ConfigDataSecureKeys(), ElementsAre("config", "quota", "mongo-uri"));
}

TEST_F(RunSchedulerTest, AFailingStepOfTheStartIsNamedAndEndsTheProcess) {
    struct Row {
        std::vector<std::string> arguments;
        std::function<void(LifeScript&)> arrange;
        std::string text;
        std::string lastDeed;
    };
    const auto nothing = [](LifeScript&) {};
    const auto refuse = [] { return false; };
    const auto loseName = [](auto& info) { return info.m_Name.clear(), true; };
    const auto refuseInfo = [](auto&) { return false; };
    const std::string described = "described as \"\"";
    const std::string begun = "start scripted.service test 3 at localhost with ";
    const Row rows[] = {
        {{"--version=abc"}, nothing, "m_ServiceInfo.m_Name is empty()", described},
        {{"--enableOldHALPrototype=x"}, nothing, "m_ServiceInfo.m_Name is empty()", described},
        {{"--service=other"}, nothing, "m_ServiceInfo.m_Name is NOT == scripted.service", described},
        {{"--deploy=nowhere"}, nothing, "InitializeDeploymentMode() failed", described},
        {{"--mongo-uri=gopher://x"}, nothing, "ObjectStoreService::InitObjectStore() failed", "bus made"},
        {{}, [&](auto& script) { script.onErrors = refuse; }, "RegisterErrors() failed", "errors"},
        {{},
         [&](auto& script) { script.onHandlers = refuseInfo; },
         "RegisterServiceMessageHandlers() failed",
         "handlers"},
        {{},
         [&](auto& script) { script.onHandlers = loseName; },
         "m_pMessagingService->AssignServiceInfo() failed",
         "handlers"},
        {{},
         [](auto& script) { script.startError = InitError::CannotListen; },
         "m_pMessagingService->Initialize() failed with error: the address is in use or not allowed",
         begun},
        {{},
         [](auto& script) { script.runsAfterStart = false; },
         "m_pMessagingService->IsRunning() failed",
         begun},
        {{},
         [&](auto& script) { script.onRunning = refuse; },
         "AfterPlatformRunningStartupAction() failed",
         "running"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.arguments) + row.text);
        const Outcome life = Run(row.arguments, row.arrange);
        EXPECT_EQ(life.exitCode, -2);
        EXPECT_THAT(life.output, EndsWith("\n\n\nServiceBase::Startup() " + row.text));
        EXPECT_EQ(life.errors, "\nScheduler Service main pSchedulerService->Startup() failed");
        // Where a bus was made, the service is deleted with it still in its hands; one that runs is stopped.
        std::vector<std::string> expected = {row.lastDeed, "deleted"};
        if (row.lastDeed == "running") {
            expected.emplace_back("stop");
        }
        if (CountDeeds("bus made") > 0) {
            expected.emplace_back("bus gone");
        }
        const auto& journal = m_pScript->journal;
        ASSERT_GE(journal.size(), expected.size());
        EXPECT_EQ(std::vector(journal.end() - std::ssize(expected), journal.end()), expected);
    }
}

TEST_F(RunSchedulerTest, AnExceptionEndsTheProcessAndLeavesTheServiceAlone) {
    struct Row {
        std::function<bool()> raise;
        int exitCode;
        std::string text;
    };
    const Row rows[] = {
        {[]() -> bool { throw std::range_error("far"); }, 101, "MESS: runtime error has occurred - far\n"},
        {[]() -> bool { throw std::logic_error("odd"); }, 102, "MESS: exception has occurred - odd\n"},
        {[]() -> bool { throw 7; }, 103, "MESS: Unexpected exception occurred!\n"},
    };
    for (const Row& row : rows) {
        const Outcome life = Run({}, [&](auto& script) { script.onRunning = row.raise; });
        EXPECT_EQ(life.exitCode, row.exitCode);
        EXPECT_THAT(life.output, EndsWith("\n\n" + row.text));
        EXPECT_EQ(life.errors, "");
        EXPECT_EQ(CountDeeds("deleted"), 0);
        delete life.service;
    }
}

TEST(StoreSuffix, NamesEveryRealmButTheGlobalOne) {
    EXPECT_EQ(MakeStoreSuffix("test"), "_test_2_3_12");
    EXPECT_EQ(MakeStoreSuffix("global"), "_2_3_12");
    EXPECT_EQ(MakeStoreSuffix("Global"), "_Global_2_3_12");
}

}  // namespace
}  // namespace Weftline::Services
