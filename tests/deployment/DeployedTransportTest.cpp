#include "platform/deployment/DeployedTransport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <future>
#include <memory>
#include <string>
#include <tuple>

#include "platform/messaging/BusConnection.h"
#include "platform/messaging/ConfigurationStore.h"
#include "tests/bus/BusStories.h"
#include "tests/rest/RawClient.h"

namespace PlatformAbstraction::Deployment {
namespace {

using namespace Messaging;
using namespace TestSupport;  // NOLINT(google-build-using-namespace)
using Rest::Ask;
using Rest::RawClient;

/// Starts on a free port, which the log names.
std::uint16_t Start(BusConnection& connection, const FunctionHandlerV2::Function& answer) {
    AddConfigData("port", "0");
    const auto service = MakeService("a.service", {{"ask", answer}});
    service->SetHost("localhost");
    EXPECT_TRUE(connection.AssignServiceInfo(service));
    testing::internal::CaptureStderr();
    const InitError error = connection.Initialize("", "");
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(error, InitError::None) << log;
    static const std::string kText = "Listening on http://localhost:";
    return static_cast<std::uint16_t>(std::stoi(log.substr(log.find(kText) + kText.size())));
}

std::string Get(const std::string& target) {
    return "GET " + target + " HTTP/1.1\r\nHost: localhost\r\n\r\n";
}

TEST(DeployedTransport, ServesUntilASignalAndAnswersWhatIsUnderWay) {
    std::promise<void> entered;
    std::promise<void> leave;
    const auto echoLater = [&](const Parameters& request, const auto&) {
        if (request.HasParameter("wait")) {
            entered.set_value();
            leave.get_future().wait();
        }
        return request;
    };
    BusConnection connection(MakeStandaloneTransport());
    const std::uint16_t port = Start(connection, echoLater);
    EXPECT_TRUE(connection.IsRunning());
    EXPECT_EQ(Ask(port, Get("/ask?a=1")).body, R"({"a":1})");

    RawClient client(port);
    client.Send(Get("/ask?wait=true"));
    entered.get_future().wait();
    std::raise(SIGTERM);
    auto end = std::async(std::launch::async, [&] {
        while (RawClient().Connect(port)) {  // until the port is free, the end has not begun
        }
        leave.set_value();
    });
    EXPECT_TRUE(connection.WaitUntilBusStops());
    EXPECT_FALSE(connection.IsRunning());
    const auto response = client.ReadResponse();
    EXPECT_EQ(response.value().body, R"({"wait":true})");
    EXPECT_TRUE(client.ReadsEnd());
    EXPECT_EQ(connection.Terminate(0), TermError::NotRunning);
}

TEST(DeployedTransport, ASignalBeforeTheStartEndsTheWaitAtOnce) {
    BusConnection connection(MakeStandaloneTransport());
    std::raise(SIGINT);
    Start(connection, Echo);
    EXPECT_TRUE(connection.WaitUntilBusStops());
}

/// A farm of one service, which at its stop asks itself whether the bus still carries messages.
class OneServiceFarm final : public AttachedFarm {
public:
    OneServiceFarm(MessageBus& bus, std::string& lastAnswer)
        : m_pMessaging(bus.GetMessaging()), m_lastAnswer(lastAnswer) {
        bus.Attach(MakeService("farm.service", {{"ask", Echo}}));
    }
    void Stop() noexcept override {
        m_lastAnswer = EndOf(*m_pMessaging->SendRequest(To("farm.service", "ask")));
    }

private:
    const std::shared_ptr<BusMessaging> m_pMessaging;
    std::string& m_lastAnswer;
};

TEST(DeployedTransport, LetsTheFarmJoinBeforeTheFirstRequestAndStopBeforeTheBus) {
    std::string lastAnswer;
    BusConnection connection(
        MakeStandaloneTransport([&](MessageBus& bus, const BusSettings&, const ServiceInfoApi&) {
            return std::make_shared<OneServiceFarm>(bus, lastAnswer);
        }));
    const std::uint16_t port = Start(connection, Relay("farm.service", "ask"));
    EXPECT_EQ(Ask(port, Get("/ask?a=1")).body, R"({"relayed":"{\"a\":1}"})");
    EXPECT_EQ(connection.Terminate(0), TermError::None);
    EXPECT_EQ(lastAnswer, "{}");
}

TEST(DeployedTransport, DoesNotStartWhatItCannotServe) {
    const std::string badFile = testing::TempDir() + "refused-settings.json";
    std::ofstream(badFile) << R"({"rest":{"maxBodyBytes":"4 MB"}})";
    const std::string ofManyMachines = testing::TempDir() + "distributed-settings.json";
    std::ofstream(ofManyMachines) << R"({"nats":{"servers":["localhost:4222"]}})";
    BusConnection holder(MakeStandaloneTransport());
    const std::string held = std::to_string(Start(holder, Echo));
    const std::tuple<std::string, std::string, std::string, InitError, const char*> rows[] = {
        {"localhost", held, "", InitError::CannotListen, "--port"},
        {"", "0", "", InitError::BadConfiguration, "\"host\""},
        {"localhost", "65536", "", InitError::BadConfiguration, "\"port\""},
        {"localhost", "80x", "", InitError::BadConfiguration, "\"port\""},
        {"localhost", "0", badFile, InitError::BadConfiguration, "\"rest.maxBodyBytes\""},
        {"localhost", "0", ofManyMachines, InitError::BadConfiguration, "--deploy=distributed"},
    };
    for (const auto& [host, port, file, error, text] : rows) {
        SCOPED_TRACE(host + ":" + port + " " + file);
        BusConnection connection(MakeStandaloneTransport());
        const auto service = MakeService("a.service", {});
        service->SetHost(host);
        AddConfigData("port", port);
        connection.AssignServiceInfo(service);
        testing::internal::CaptureStderr();
        EXPECT_EQ(connection.Initialize(file, ""), error);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr(text));
        EXPECT_FALSE(connection.IsRunning());
    }
    EXPECT_EQ(holder.Terminate(0), TermError::None);
}

}  // namespace
}  // namespace PlatformAbstraction::Deployment
