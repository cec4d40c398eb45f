#include "RunScheduler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "ConfigurationStore.h"
#include "ConsoleCapture.h"
#include "EnvironmentVariable.h"
#include "EventStore.h"
#include "ObjectStore.h"
#include "ScriptedService.h"
#include "ServiceInfoApi.h"

namespace Weftline::Services {
namespace {

using PlatformAbstraction::GetConfigData;
using PlatformAbstraction::Messaging::InitError;
using PlatformAbstraction::Messaging::TermError;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

struct Outcome {
    int exitCode = 0;
    std::string output;
    std::string errors;
    ServiceBase* service = nullptr;
};

class RunSchedulerTest : public testing::Test {
protected:
    RunSchedulerTest() {
        std::string pattern = (std::filesystem::temp_directory_path() / "service_test_XXXXXX").string();
        m_directory = mkdtemp(pattern.data());
        PlatformAbstraction::ConfigDataSecureKeys().clear();
        OfferScriptedBus(m_pScript);
    }
    ~RunSchedulerTest() override {
        CommonServices::EventStore::Use(nullptr);
        CommonServices::ObjectStore::Use(nullptr);
        std::filesystem::remove_all(m_directory);
    }

    std::string StoreAddress() const { return "sqlite:" + (m_directory / "store.db").string(); }

    /// Runs the process with `arguments`, and with a scripted bus and a store of its own where they name
    /// none.
    Outcome Run(const std::vector<std::string>& arguments) {
        std::vector<std::string> all = {"quillon-scheduler"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        for (const auto& byDefault :
             {std::string("--deploy=") + kScriptedMode, "--mongo-uri=" + StoreAddress()}) {
            const auto name = byDefault.substr(0, byDefault.find('='));
            if (std::none_of(all.begin(), all.end(),
                             [&](auto& argument) { return argument.starts_with(name); })) {
                all.push_back(byDefault);
            }
        }
        return RunWith(all);
    }

    Outcome RunWith(const std::vector<std::string>& all) {
        std::vector<const char*> argv;
        for (const auto& argument : all) {
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

    const std::shared_ptr<LifeScript> m_pScript = std::make_shared<LifeScript>();

private:
    std::filesystem::path m_directory;
};

constexpr char kParametersByDefault[] =
    "\tdeploy = scripted\n"
    "\teventMaxPollingTimeoutMs = 2000\n"
    "\thost = localhost\n"
    "\tjobmanagerservicename = orvik.job.monitor\n"
    "\tkafka-host = \n"
    "\tkafka-port = 9092\n"
    "\tloglevel = info\n"
    "\tmetadatarootpath = %PUBLIC%/OrvikQuillonService/MetadataRootPath\n"
    "\tmongo-db = wf\n"
    "\tmongo-uri = ********\n"
    "\tport = 9900\n"
    "\trealm = test\n"
    "\tservice = scripted.service\n";

TEST_F(RunSchedulerTest, ANormalLifeSaysItsParametersAndDoesEachStepInItsOrder) {
    const Outcome life = Run({"--config=bus.json"});
    EXPECT_EQ(life.exitCode, 0);
    EXPECT_EQ(life.output, std::string("\nExecutable: quillon-scheduler\n"
                                       "\nEnvironment variables listing skipped.\n"
                                       "\nStartup Parameters:\n") +
                               kParametersByDefault + "\n");
    EXPECT_EQ(life.errors, "");
    EXPECT_THAT(m_pScript->journal, ElementsAre("described as \"\"", "bus made", "errors", "handlers",
                                                "start scripted.service test 3 at localhost with bus.json",
                                                "running", "wait", "bus gone", "deleted"));
    EXPECT_EQ(GetConfigData()["mongo-uri"], StoreAddress());
    for (const std::string key :
         {"config", "version", "verbose", "proxyEventStore", "enableOldHALPrototype"}) {
        EXPECT_EQ(GetConfigData().count(key), 0U) << key;
    }
    EXPECT_THAT(PlatformAbstraction::ConfigDataSecureKeys(), ElementsAre("config", "quota", "mongo-uri"));
}

TEST_F(RunSchedulerTest, OptionsReachTheServiceTheBusAndTheConfigurationStore) {
    const EnvironmentVariable port("zrf_port", "5678");
    const Outcome life = Run({"--realm=blue", "--version=7", "--enableOldHALPrototype=true", "--host", "farm",
                              "--port", "1234", "--mongo-db=a b", "--nonsense=1"});
    EXPECT_EQ(life.exitCode, 0);
    EXPECT_THAT(m_pScript->journal, Contains("old handlers"));
    EXPECT_THAT(m_pScript->journal, Contains("start scripted.service blue 7 at farm with "));
    EXPECT_EQ(GetConfigData()["port"], "1234");
    EXPECT_EQ(GetConfigData()["mongo-db"], "a");
    EXPECT_THAT(life.output, Not(HasSubstr("nonsense")));
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
    const std::string described = "described as \"\"";
    const std::string begun = "start scripted.service test 3 at localhost with ";
    const std::vector<Row> rows = {
        {{"--version=abc"}, nothing, "m_ServiceInfo.m_Name is empty()", described},
        {{"--enableOldHALPrototype=x"}, nothing, "m_ServiceInfo.m_Name is empty()", described},
        {{"--service=other"}, nothing, "m_ServiceInfo.m_Name is NOT == scripted.service", described},
        {{"--deploy=nowhere"}, nothing, "InitializeDeploymentMode() failed", described},
        {{"--mongo-uri=gopher://x"}, nothing, "ObjectStoreService::InitObjectStore() failed", "bus made"},
        {{}, [&](auto& script) { script.onErrors = refuse; }, "RegisterErrors() failed", "errors"},
        {{},
         [](auto& script) { script.onHandlers = [](auto&) { return false; }; },
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
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.arguments) + row.text);
        *m_pScript = LifeScript();
        row.arrange(*m_pScript);
        const Outcome life = Run(row.arguments);
        EXPECT_EQ(life.exitCode, -2);
        EXPECT_THAT(life.output, EndsWith("\n\n\nServiceBase::Startup() " + row.text));
        EXPECT_EQ(life.errors, "\nScheduler Service main pSchedulerService->Startup() failed");
        // Where a bus was made, the service is deleted with it still in its hands; one that runs is stopped.
        auto& journal = m_pScript->journal;
        std::vector<std::string> expected = {row.lastDeed, "deleted"};
        if (row.lastDeed == "running") {
            expected.emplace_back("stop");
        }
        if (std::find(journal.begin(), journal.end(), "bus made") != journal.end()) {
            expected.emplace_back("bus gone");
        }
        ASSERT_GE(journal.size(), expected.size());
        EXPECT_EQ(std::vector(journal.end() - std::ssize(expected), journal.end()), expected);
    }
}

TEST_F(RunSchedulerTest, TheExitCodeTellsWhichStepFailed) {
    struct Row {
        std::string name;
        std::function<void(LifeScript&)> arrange;
        int exitCode;
        std::string output;  // behind the parameters
        std::string errors;
        std::ptrdiff_t stops;
    };
    const std::string failed = "\nScheduler Service main pSchedulerService->";
    const std::string terminate = "\nServiceBase::Shutdown() m_pMessagingService->Terminate() failed";
    const std::string stillTrue = "\nServiceBase::Term() m_pMessagingService->IsRunning() STILL TRUE!";
    const std::vector<Row> rows = {
        {"init", [](auto& script) { script.onReady = [] { return false; }; }, -1, "",
         failed + "Init() failed", 0},
        {"a broken bus", [](auto& script) { script.stopsNormally = false; }, -999, "", "", 0},
        {"a bus that has to be stopped", [](auto& script) { script.runsAfterWait = true; }, 0, "", "", 1},
        {"shutdown",
         [](auto& script) {
             script.stopsNormally = false;
             script.runsAfterWait = true;
             script.stopError = TermError::Failed;
         },
         -3, terminate, failed + "Shutdown() failed", 1},
        {"term", [](auto& script) { script.runsAfterWait = script.runsAfterStop = true; }, -4, stillTrue,
         failed + "Term() failed", 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        *m_pScript = LifeScript();
        row.arrange(*m_pScript);
        const Outcome life = Run({});
        EXPECT_EQ(life.exitCode, row.exitCode);
        EXPECT_THAT(life.output, EndsWith("\n" + row.output));
        EXPECT_EQ(life.errors, row.errors);
        auto& journal = m_pScript->journal;
        EXPECT_EQ(std::count(journal.begin(), journal.end(), "stop"), row.stops);
        EXPECT_THAT(journal, Contains("deleted"));
        EXPECT_EQ(std::count(journal.begin(), journal.end(), "bus gone"), row.exitCode == -1 ? 0 : 1);
    }
}

TEST_F(RunSchedulerTest, AnExceptionEndsTheProcessAndLeavesTheServiceAlone) {
    struct Row {
        std::function<bool()> raise;
        int exitCode;
        std::string text;
    };
    const std::vector<Row> rows = {
        {[]() -> bool { throw std::range_error("far"); }, 101, "MESS: runtime error has occurred - far\n"},
        {[]() -> bool { throw std::logic_error("odd"); }, 102, "MESS: exception has occurred - odd\n"},
        {[]() -> bool { throw 7; }, 103, "MESS: Unexpected exception occurred!\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        *m_pScript = LifeScript();
        m_pScript->onRunning = row.raise;
        const Outcome life = Run({});
        EXPECT_EQ(life.exitCode, row.exitCode);
        EXPECT_THAT(life.output, EndsWith("\n\n" + row.text));
        EXPECT_EQ(life.errors, "");
        EXPECT_THAT(m_pScript->journal, Not(Contains("deleted")));
        delete life.service;
    }
}

}  // namespace
}  // namespace Weftline::Services
