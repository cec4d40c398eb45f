#include "handlers/admin/Configuration.h"

#include <atomic>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "handlers/admin/RemoveObsoleteJobsHandler.h"
#include "tests/admin/AdminFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

constexpr char kPropagating[] = R"(OK {"status":"propagating"})";
constexpr char kNewURL[] = R"({"connectionURL":"u"})";

using Configuration = AdminFixture;

TEST_F(Configuration, OnlyANewURLIsPassedOn) {
    bus->On("setGlobalConfigData", Results("{}"));
    ConfigureDXHandler handler(connection, kRunInPlace);
    for (const std::string url : {R"("a")", R"("a")", R"("")", "5", R"("A")", R"("a")"}) {
        EXPECT_THAT(Outcome(handler, R"({"connectionURL":)" + url + "}"), testing::StartsWith(kPropagating));
    }
    const std::string message =
        R"(notification orvik.quillon.processing.coordinator/farm/1/setGlobalConfigData {"DolmexConnectionURL":)";
    EXPECT_THAT(Sent(), ElementsAre(message + R"("a"})", message + R"("A"})", message + R"("a"})"));
}

TEST_F(Configuration, TheConsoleTellsHowTheSendingWent) {
    const std::string begin =
        "Started: Configure DX started\n\nSending global configuration to Coordinator...\n"
        "\nParameters: \n{\n  \"DolmexConnectionURL\": \"u\"\n}\n";
    const std::string failed =
        "\nError occurred sending setGlobalConfigData message to coordinator.\n"
        "Failed: Send notification failed for orvik.quillon.processing.coordinator ";
    const std::string end =
        "\nDone with setGlobalConfigData\n"
        "Succeeded: Done configuring DX for orvik.quillon.processing.coordinator\n";
    const std::pair<ScriptedAnswer, std::string> rows[] = {
        {ScriptedAnswer::Never(), begin + end},
        {ScriptedAnswer::Error("E", "m"), begin + failed + "[E] m\n" + end},
        {ScriptedAnswer::Throws([] { throw std::runtime_error("gone"); }), begin + "Failed: gone\n"},
    };
    for (const auto& [answer, printed] : rows) {
        bus->Restart("setGlobalConfigData", answer);
        EXPECT_EQ(Outcome(ConfigureDXHandler(connection, kRunInPlace), kNewURL),
                  kPropagating + (" | " + printed));
    }
}

TEST_F(Configuration, RemoteLoggingIsBroadcastAsItCameToBothKindsOfWorker) {
    bus->On("remoteLogging", ScriptedAnswer::Error("E", "m"));
    bus->On("remoteLogging", Results("{}"));
    const std::string metadata = "orvik.quillon.processing.metadata.worker";
    const std::string media = "orvik.quillon.processing.media.worker";
    const std::string body = R"({"turnOnRemoteLogging":true,"more":[1]})";
    const std::string success = "Succeeded: Done configuring remote logging for ";
    EXPECT_EQ(Outcome(RemoteLoggingHandler(connection, kRunInPlace), body),
              "OK {} | Started: Configure remote logging started\n"
              "Failed: Broadcast notification failed for " +
                  metadata + " [E] m\n" + success + metadata + "\n" + success + media + "\n");
    EXPECT_THAT(Sent(), ElementsAre("broadcast " + metadata + "/farm/1/remoteLogging " + body,
                                    "broadcast " + media + "/farm/1/remoteLogging " + body));
}

TEST_F(Configuration, AThreadThatCannotBeStartedIsAnswered) {
    const ThreadStarter fails = [](const auto&) { throw std::runtime_error("no thread"); };
    const ThreadStarter breaks = [](const auto&) { throw 5; };
    const std::string place = "GENERIC_SERVICE_ERROR: ConfigureDXHandler::HandleMessage - ";
    const std::string start = " | Started: Configure DX started\n";
    ConfigureDXHandler failing(connection, fails);
    EXPECT_EQ(Outcome(failing, kNewURL), place + "error occurred: no thread" + start);
    for (const std::string known : {R"("u")", R"("")", "5"}) {  // the URL that failed counts as passed on
        EXPECT_EQ(Outcome(failing, R"({"connectionURL":)" + known + "}"), kPropagating + start) << known;
    }
    EXPECT_THAT(Outcome(RemoteLoggingHandler(connection, breaks), "{}"),
                testing::StartsWith("GENERIC_SERVICE_ERROR: RemoteLoggingHandler::HandleMessage - "
                                    "Unexpected error encountered | "));
    RemoveObsoleteJobsHandler failingPurge(connection, fails), breakingPurge(connection, breaks);
    EXPECT_EQ(Outcome(failingPurge, "{}"), "ERROR_UNKNOWN: no thread | no thread\n");
    EXPECT_EQ(Outcome(breakingPurge, "{}"), "ERROR_UNKNOWN: Unexpected | Unexpected\n");
}

TEST_F(Configuration, DetachedWorkNeitherHoldsNorCrashesAProcessThatEnds) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    static std::atomic<int> atWork{0};
    const auto hold = ScriptedAnswer::From([](const auto&) -> MessageAnswer {
        for (++atWork;;) {
            std::cout << std::flush;
        }
    });
    bus->On("setGlobalConfigData", hold);
    bus->On("findJobsByKind", hold);
    const auto endUnderWork = [this] {
        ConfigureDXHandler configure(connection);
        Answer(configure, kNewURL);
        RemoveObsoleteJobsHandler purge(connection);
        Answer(purge, R"({"CreationDate":"2024-05-06T07:08:09","kind":"k"})");
        while (atWork < 2) {
            std::this_thread::yield();
        }
        std::exit(0);
    };
    EXPECT_EXIT(endUnderWork(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
