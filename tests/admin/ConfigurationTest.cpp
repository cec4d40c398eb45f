#include <gmock/gmock.h>

#include <iostream>
#include <stdexcept>

#include "AdminFixture.h"
#include "ConfigureDXHandler.h"
#include "ConsoleCapture.h"
#include "RemoteLoggingHandler.h"
#include "RemoveObsoleteJobsHandler.h"

namespace Weftline::Services::Scheduler {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using TestSupport::ConsoleCapture;
using TestSupport::ScriptedAnswer;
using TestSupport::SentMessage;

constexpr char kPropagating[] = R"(OK {"status":"propagating"})";

class Configuration : public AdminFixture {
protected:
    void Expect(SentMessage::Kind kind) const {
        for (const SentMessage& message : bus->Sent()) {
            EXPECT_EQ(message.kind, kind);
        }
    }
};

TEST_F(Configuration, OnlyANewURLIsPassedOn) {
    bus->On("setGlobalConfigData", Results("{}"));
    ConfigureDXHandler handler(Connection(), kRunInPlace);
    const ConsoleCapture console(std::cout);
    for (const std::string request :
         {R"({"connectionURL":"a"})", R"({"connectionURL":"a"})", "{}", R"({"connectionURL":""})",
          R"({"connectionURL":5})", R"({"connectionURL":"A"})", R"({"connectionURL":"a"})"}) {
        EXPECT_EQ(Answer(handler, request), kPropagating);
    }
    const auto message = [](const std::string& url) {
        return R"(orvik.quillon.processing.coordinator/farm/1/setGlobalConfigData {"DolmexConnectionURL":")" +
               url + "\"}";
    };
    EXPECT_THAT(Sent(), ElementsAre(message("a"), message("A"), message("a")));
    EXPECT_THAT(bus->Waits(), ElementsAre(1000, 1000, 1000));
    Expect(SentMessage::Kind::Notification);
}

TEST_F(Configuration, TheConsoleTellsHowTheSendingWent) {
    const std::string begin =
        "Started: Configure DX started\n"
        "\nSending global configuration to Coordinator...\n"
        "\nParameters: \n{\n  \"DolmexConnectionURL\": \"u\"\n}\n";
    const std::string error = "\nError occurred sending setGlobalConfigData message to coordinator.\n";
    const std::string failed = "Failed: Send notification failed for orvik.quillon.processing.coordinator ";
    const std::string end =
        "\nDone with setGlobalConfigData\n"
        "Succeeded: Done configuring DX for orvik.quillon.processing.coordinator\n";
    struct Row {
        std::string name;
        ScriptedAnswer answer;
        std::string printed;
    };
    const Row rows[] = {
        {"well", Results("{}"), begin + end},
        {"not yet", ScriptedAnswer::Never(), begin + end},
        {"error", ScriptedAnswer::Error("E", "m"), begin + error + failed + "[E] m\n" + end},
        {"without details", ScriptedAnswer::ErrorWithoutDetails(), begin + error + failed + "[] \n" + end},
        {"a bus that is gone", ScriptedAnswer::Throws([] { throw std::runtime_error("gone"); }),
         begin + "Failed: gone\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        bus = std::make_shared<TestSupport::FakeBusMessaging>();
        bus->On("setGlobalConfigData", row.answer);
        ConfigureDXHandler handler(Connection(), kRunInPlace);
        const ConsoleCapture console(std::cout);
        EXPECT_EQ(Answer(handler, R"({"connectionURL":"u"})"), kPropagating);
        EXPECT_EQ(console.Text(), row.printed);
        // What failed is not tried again.
        EXPECT_EQ(Answer(handler, R"({"connectionURL":"u"})"), kPropagating);
        EXPECT_THAT(Sent(), SizeIs(1));
    }
}

TEST_F(Configuration, RemoteLoggingIsBroadcastAsItCameToBothKindsOfWorker) {
    bus->On("remoteLogging", ScriptedAnswer::Error("E", "m"));
    bus->On("remoteLogging", Results("{}"));
    RemoteLoggingHandler handler(Connection(), kRunInPlace);
    const std::string services[] = {"orvik.quillon.processing.metadata.worker",
                                    "orvik.quillon.processing.media.worker"};
    const std::string success = "Succeeded: Done configuring remote logging for ";
    {
        const ConsoleCapture console(std::cout);
        EXPECT_EQ(Answer(handler, R"({"turnOnRemoteLogging":true,"more":[1]})"), "OK {}");
        EXPECT_EQ(console.Text(),
                  "Started: Configure remote logging started\n"
                  "Failed: Broadcast notification failed for " +
                      services[0] + " [E] m\n" + success + services[0] + "\n" + success + services[1] + "\n");
    }
    const ConsoleCapture console(std::cout);
    EXPECT_EQ(Answer(handler, "{}"), "OK {}");
    const std::string body = R"({"turnOnRemoteLogging":true,"more":[1]})";
    EXPECT_THAT(Sent(), ElementsAre(services[0] + "/farm/1/remoteLogging " + body,
                                    services[1] + "/farm/1/remoteLogging " + body,
                                    services[0] + "/farm/1/remoteLogging {}",
                                    services[1] + "/farm/1/remoteLogging {}"));
    EXPECT_THAT(bus->Waits(), ElementsAre(1000, 1000, 1000, 1000));
    Expect(SentMessage::Kind::Broadcast);
}

TEST_F(Configuration, AThreadThatCannotBeStartedIsAnswered) {
    const ThreadStarter fails = [](const std::function<void()>&) { throw std::runtime_error("no thread"); };
    const ThreadStarter breaks = [](const std::function<void()>&) { throw 5; };
    const std::string configure = "GENERIC_SERVICE_ERROR: ConfigureDXHandler::HandleMessage - ";
    const std::string logging = "GENERIC_SERVICE_ERROR: RemoteLoggingHandler::HandleMessage - ";
    const std::string url = R"({"connectionURL":"u"})";
    const auto answer = [this](auto handler, const std::string& request, const std::string& printed) {
        const ConsoleCapture console(std::cout);
        const std::string given = Answer(*handler, request);
        EXPECT_EQ(console.Text(), printed);
        return given;
    };
    const std::string startDX = "Started: Configure DX started\n";
    const std::string startLogging = "Started: Configure remote logging started\n";
    const auto dx = std::make_shared<ConfigureDXHandler>(Connection(), fails);
    EXPECT_EQ(answer(dx, url, startDX), configure + "error occurred: no thread");
    EXPECT_EQ(answer(dx, url, startDX), kPropagating) << "the URL counts as passed on";
    EXPECT_EQ(answer(std::make_shared<ConfigureDXHandler>(Connection(), breaks), url, startDX),
              configure + "Unexpected error encountered");
    EXPECT_EQ(answer(std::make_shared<RemoteLoggingHandler>(Connection(), fails), "{}", startLogging),
              logging + "error occurred: no thread");
    EXPECT_EQ(answer(std::make_shared<RemoteLoggingHandler>(Connection(), breaks), "{}", startLogging),
              logging + "Unexpected error encountered");
    EXPECT_EQ(answer(std::make_shared<RemoveObsoleteJobsHandler>(Connection(), fails), "{}", "no thread\n"),
              "ERROR_UNKNOWN: no thread");
    EXPECT_EQ(answer(std::make_shared<RemoveObsoleteJobsHandler>(Connection(), breaks), "{}", "Unexpected\n"),
              "ERROR_UNKNOWN: Unexpected");
    EXPECT_THAT(Sent(), IsEmpty());
}

}  // namespace
}  // namespace Weftline::Services::Scheduler
