#include <stdexcept>

#include "handlers/admin/Configuration.h"
#include "handlers/admin/RemoveObsoleteJobsHandler.h"
#include "tests/admin/AdminFixture.h"

namespace Weftline::Services::Scheduler {
namespace {

constexpr char kPropagating[] = R"(OK {"status":"propagating"})";
constexpr char kNewURL[] = R"({"connectionURL":"u"})";

class Configuration : public AdminFixture {
protected:
    /// The answer, and behind " | " what was printed.
    std::string Outcome(PlatformAbstraction::Messaging::ServiceMessageHandler& handler,
                        const std::string& request) {
        const ConsoleCapture console(std::cout);
        const std::string answer = Answer(handler, request);
        return answer + " | " + console.Text();
    }
};

TEST_F(Configuration, OnlyANewURLIsPassedOn) {
    bus->On("setGlobalConfigData", Results("{}"));
    ConfigureDXHandler handler(connection, kRunInPlace);
    const ConsoleCapture console(std::cout);
    for (const std::string request :
         {R"({"connectionURL":"a"})", R"({"connectionURL":"a"})", "{}", R"({"connectionURL":""})",
          R"({"connectionURL":5})", R"({"connectionURL":"A"})", R"({"connectionURL":"a"})"}) {
        EXPECT_EQ(Answer(handler, request), kPropagating);
    }
    const auto message = [](const std::string& url) {
        return "notification orvik.quillon.processing.coordinator/farm/1/setGlobalConfigData "
               R"({"DolmexConnectionURL":")" +
               url + "\"}";
    };
    EXPECT_THAT(Sent(), ElementsAre(message("a"), message("A"), message("a")));
    EXPECT_THAT(bus->Waits(), ElementsAre(1000, 1000, 1000));
}

TEST_F(Configuration, TheConsoleTellsHowTheSendingWentAndWhatFailedIsNotTriedAgain) {
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
        {Results("{}"), begin + end},
        {ScriptedAnswer::Never(), begin + end},
        {ScriptedAnswer::Error("E", "m"), begin + failed + "[E] m\n" + end},
        {ScriptedAnswer::ErrorWithoutDetails(), begin + failed + "[] \n" + end},
        {ScriptedAnswer::Throws([] { throw std::runtime_error("gone"); }), begin + "Failed: gone\n"},
    };
    for (const auto& [answer, printed] : rows) {
        bus->Restart("setGlobalConfigData", answer);
        ConfigureDXHandler handler(connection, kRunInPlace);
        EXPECT_EQ(Outcome(handler, kNewURL), kPropagating + (" | " + printed));
        Outcome(handler, kNewURL);
        EXPECT_THAT(Sent(), SizeIs(1));
    }
}

TEST_F(Configuration, RemoteLoggingIsBroadcastAsItCameToBothKindsOfWorker) {
    bus->On("remoteLogging", ScriptedAnswer::Error("E", "m"));
    bus->On("remoteLogging", Results("{}"));
    RemoteLoggingHandler handler(connection, kRunInPlace);
    const std::string metadata = "orvik.quillon.processing.metadata.worker";
    const std::string media = "orvik.quillon.processing.media.worker";
    const std::string body = R"({"turnOnRemoteLogging":true,"more":[1]})";
    const std::string success = "Succeeded: Done configuring remote logging for ";
    EXPECT_EQ(Outcome(handler, body),
              "OK {} | Started: Configure remote logging started\n"
              "Failed: Broadcast notification failed for " +
                  metadata + " [E] m\n" + success + metadata + "\n" + success + media + "\n");
    EXPECT_THAT(Sent(), ElementsAre("broadcast " + metadata + "/farm/1/remoteLogging " + body,
                                    "broadcast " + media + "/farm/1/remoteLogging " + body));
    EXPECT_THAT(bus->Waits(), ElementsAre(1000, 1000));
}

TEST_F(Configuration, AThreadThatCannotBeStartedIsAnswered) {
    const ThreadStarter fails = [](const auto&) { throw std::runtime_error("no thread"); };
    const ThreadStarter breaks = [](const auto&) { throw 5; };
    const std::string dx = "GENERIC_SERVICE_ERROR: ConfigureDXHandler::HandleMessage - ";
    const std::string startDX = " | Started: Configure DX started\n";
    ConfigureDXHandler failingDX(connection, fails);
    EXPECT_EQ(Outcome(failingDX, kNewURL), dx + "error occurred: no thread" + startDX);
    EXPECT_EQ(Outcome(failingDX, kNewURL), kPropagating + startDX) << "the URL counts as passed on";
    ConfigureDXHandler breakingDX(connection, breaks);
    EXPECT_EQ(Outcome(breakingDX, kNewURL), dx + "Unexpected error encountered" + startDX);
    RemoteLoggingHandler failingLogging(connection, fails);
    EXPECT_EQ(Outcome(failingLogging, "{}"),
              "GENERIC_SERVICE_ERROR: RemoteLoggingHandler::HandleMessage - error occurred: no thread"
              " | Started: Configure remote logging started\n");
    RemoveObsoleteJobsHandler failingPurge(connection, fails);
    EXPECT_EQ(Outcome(failingPurge, "{}"), "ERROR_UNKNOWN: no thread | no thread\n");
    RemoveObsoleteJobsHandler breakingPurge(connection, breaks);
    EXPECT_EQ(Outcome(breakingPurge, "{}"), "ERROR_UNKNOWN: Unexpected | Unexpected\n");
    EXPECT_THAT(Sent(), SizeIs(0));
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
