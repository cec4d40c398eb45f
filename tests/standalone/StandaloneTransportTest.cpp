#include "platform/standalone/StandaloneTransport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <utility>

#include "platform/messaging/BusConnection.h"
#include "platform/messaging/ConfigurationStore.h"
#include "tests/messaging/FunctionHandlers.h"
#include "tests/rest/RawClient.h"

namespace PlatformAbstraction::Standalone {
namespace {

using namespace Messaging;
using CoreServices::Parameters;
using Rest::Ask;
using Rest::RawClient;
using std::chrono::seconds;

class StandaloneTransportTest : public ::testing::Test {
protected:
    static std::shared_ptr<ServiceInfoApi> MakeService(const std::string& name,
                                                       TestSupport::FunctionHandlerV2::Function function) {
        auto service = ConstructServiceInfo();
        service->SetNameRealmVersion(name, "test", 1);
        service->SetHost("localhost");
        service->AddMessageHandlerV2(std::make_shared<TestSupport::FunctionHandlerV2>(
            TestSupport::Registration("ask", "ask"), std::move(function)));
        return service;
    }

    static Parameters Echo(const Parameters& request, const TestSupport::ContextPointer&) { return request; }

    /// Starts on a free port, which the log names.
    std::uint16_t Start(BusConnection& connection, const std::shared_ptr<ServiceInfoApi>& service) {
        AddConfigData("port", "0");
        EXPECT_TRUE(connection.AssignServiceInfo(service));
        testing::internal::CaptureStderr();
        const InitError error = connection.Initialize("", "");
        const std::string log = testing::internal::GetCapturedStderr();
        EXPECT_EQ(error, InitError::None) << log;
        static const std::string kText = "Listening on http://localhost:";
        const std::size_t place = log.find(kText);
        return place == std::string::npos
                   ? std::uint16_t{0}
                   : static_cast<std::uint16_t>(std::stoi(log.substr(place + kText.size())));
    }

    static std::string Get(const std::string& target) {
        return "GET " + target + " HTTP/1.1\r\nHost: localhost\r\n\r\n";
    }
};

TEST_F(StandaloneTransportTest, ServesUntilASignalAndAnswersWhatIsUnderWay) {
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
    const std::uint16_t port = Start(connection, MakeService("a.service", echoLater));
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

TEST_F(StandaloneTransportTest, ASignalBeforeTheStartEndsTheWaitAtOnce) {
    BusConnection connection(MakeStandaloneTransport());
    std::raise(SIGINT);
    Start(connection, MakeService("a.service", Echo));
    EXPECT_TRUE(connection.WaitUntilBusStops());
}

/// A farm of one service, which at its stop asks itself whether the bus still carries messages.
class OneServiceFarm final : public AttachedFarm {
public:
    OneServiceFarm(InProcessBus& bus, const std::shared_ptr<ServiceInfoApi>& service, bool& isStoppedFirst)
        : m_pMessaging(bus.GetMessaging()), m_isStoppedFirst(isStoppedFirst) {
        bus.Attach(std::dynamic_pointer_cast<ServiceInfo>(service));
    }
    void Stop() noexcept override {
        const auto future =
            m_pMessaging->SendRequest(ServiceMessageDispatch("farm.service", "test", 1, "ask"));
        m_isStoppedFirst = future->WaitForDone(20'000'000) && !future->HasError();
    }

private:
    const std::shared_ptr<BusMessaging> m_pMessaging;
    bool& m_isStoppedFirst;
};

TEST_F(StandaloneTransportTest, LetsTheFarmJoinBeforeTheFirstRequestAndStopBeforeTheBus) {
    bool isStoppedFirst = false;
    const auto farm = [&isStoppedFirst](InProcessBus& bus, const BusSettings&, const ServiceInfoApi&) {
        const auto answer = [](const auto&, const auto&) {
            return Parameters::fromJSON(R"({"from":"farm"})");
        };
        return std::make_shared<OneServiceFarm>(bus, MakeService("farm.service", answer), isStoppedFirst);
    };
    const auto askFarm = [](const Parameters&, const TestSupport::ContextPointer& context) {
        const auto future =
            context->GetContextBusMessaging()->SendRequest({"farm.service", "test", 1, "ask"});
        Parameters results;
        future->WaitForDone(20'000'000);
        future->GetResults(results);
        return results;
    };
    BusConnection connection(MakeStandaloneTransportWithFarm(farm));
    const std::uint16_t port = Start(connection, MakeService("a.service", askFarm));
    EXPECT_EQ(Ask(port, Get("/ask")).body, R"({"from":"farm"})");
    EXPECT_EQ(connection.Terminate(0), TermError::None);
    EXPECT_TRUE(isStoppedFirst);
}

TEST_F(StandaloneTransportTest, DoesNotStartWhatItCannotServe) {
    const std::string badFile = testing::TempDir() + "refused-settings.json";
    std::ofstream(badFile) << R"({"rest":{"maxBodyBytes":"4 MB"}})";
    BusConnection holder(MakeStandaloneTransport());
    const std::string held = std::to_string(Start(holder, MakeService("a.service", Echo)));
    using Start = std::tuple<std::string, std::string, std::string>;  // host, port and file of settings
    const std::tuple<Start, InitError, const char*> rows[] = {
        {{"localhost", held, ""}, InitError::CannotListen, "--port"},
        {{"", "0", ""}, InitError::BadConfiguration, "\"host\""},
        {{"localhost", "65536", ""}, InitError::BadConfiguration, "\"port\""},
        {{"localhost", "80x", ""}, InitError::BadConfiguration, "\"port\""},
        {{"localhost", "0", badFile}, InitError::BadConfiguration, "\"rest.maxBodyBytes\""},
    };
    for (const auto& [start, error, text] : rows) {
        const auto& [host, port, file] = start;
        SCOPED_TRACE(host + ":" + port + " " + file);
        BusConnection connection(MakeStandaloneTransport());
        auto service = MakeService("a.service", Echo);
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
}  // namespace PlatformAbstraction::Standalone
