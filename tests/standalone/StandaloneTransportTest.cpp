#include "StandaloneTransport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <utility>

#include "BusConnection.h"
#include "ConfigurationStore.h"
#include "RawClient.h"
#include "RegParamsBuilder.h"
#include "ServiceInfo.h"
#include "ServiceMessageHandlerV2.h"

namespace PlatformAbstraction::Standalone {
namespace {

using namespace Messaging;
using CoreServices::Parameters;
using Rest::Ask;
using Rest::RawClient;
using std::chrono::seconds;

/// Answers with what a function makes of the request.
class FunctionHandler final : public ServiceMessageHandlerV2 {
public:
    using Function = std::function<Parameters(const Parameters&)>;
    FunctionHandler(std::string name, Function function)
        : m_name(std::move(name)), m_function(std::move(function)) {}

    RegistrationParams GetRegistrationParams() const override {
        return RegParamsBuilder().SetName(m_name).SetRESTPath(m_name).GetResult();
    }
    Parameters HandleMessageV2(const Parameters& request, std::shared_ptr<MessageContext>) override {
        return m_function(request);
    }

private:
    const std::string m_name;
    const Function m_function;
};

class StandaloneTransportTest : public ::testing::Test {
protected:
    static std::shared_ptr<ServiceInfoApi> MakeService(const std::string& name,
                                                       FunctionHandler::Function function) {
        auto service = ConstructServiceInfo();
        service->SetNameRealmVersion(name, "test", 1);
        service->SetHost("localhost");
        service->AddMessageHandlerV2(std::make_shared<FunctionHandler>("ask", std::move(function)));
        return service;
    }

    static Parameters Echo(const Parameters& request) { return request; }

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
    BusConnection connection(MakeStandaloneTransport());
    const std::uint16_t port = Start(connection, MakeService("a.service", [&](const Parameters& request) {
                                         if (request.HasParameter("wait")) {
                                             entered.set_value();
                                             leave.get_future().wait();
                                         }
                                         return request;
                                     }));
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
    ASSERT_TRUE(response.has_value());
    EXPECT_EQ(response->body, R"({"wait":true})");
    EXPECT_TRUE(client.ReadsEnd());
    EXPECT_EQ(connection.Terminate(0), TermError::NotRunning);
}

TEST_F(StandaloneTransportTest, ASignalBeforeTheStartEndsTheWaitAtOnce) {
    BusConnection connection(MakeStandaloneTransport());
    std::raise(SIGINT);
    Start(connection, MakeService("a.service", Echo));
    EXPECT_TRUE(connection.WaitUntilBusStops());
}

TEST_F(StandaloneTransportTest, IsStoppedByItsOwner) {
    auto service = MakeService("a.service", Echo);
    BusConnection connection(MakeStandaloneTransport());
    const std::uint16_t port = Start(connection, service);
    EXPECT_EQ(connection.Terminate(0), TermError::None);
    EXPECT_FALSE(connection.IsRunning());
    EXPECT_FALSE(RawClient().Connect(port));
    auto dispatch = ServiceMessageDispatch("a.service", "test", 1, "ask");
    const auto future = connection.GetMainConnectionBusMessaging()->SendRequest(dispatch);
    EXPECT_TRUE(future->WaitForDone(20'000'000));
    EXPECT_TRUE(future->HasError());
}

/// A farm of one service, which at its stop asks itself whether the bus still carries messages.
class OneServiceFarm final : public AttachedFarm {
public:
    OneServiceFarm(InProcessBus& bus, const std::shared_ptr<ServiceInfoApi>& service, bool& isStoppedFirst)
        : m_pMessaging(bus.Attach(std::dynamic_pointer_cast<ServiceInfo>(service))->GetMessaging()),
          m_isStoppedFirst(isStoppedFirst) {}
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
    auto farm = [&isStoppedFirst](InProcessBus& bus, const BusSettings&, const ServiceInfoApi&) {
        const auto service = MakeService("farm.service", [](const Parameters&) {
            Parameters results;
            results.SetParameter("from", "farm");
            return results;
        });
        return std::make_shared<OneServiceFarm>(bus, service, isStoppedFirst);
    };
    BusConnection connection(MakeStandaloneTransportWithFarm(farm));
    const std::uint16_t port = Start(connection, MakeService("a.service", [&connection](const Parameters&) {
                                         const auto future =
                                             connection.GetMainConnectionBusMessaging()->SendRequest(
                                                 ServiceMessageDispatch("farm.service", "test", 1, "ask"));
                                         Parameters results;
                                         future->WaitForDone(20'000'000);
                                         future->GetResults(results);
                                         return results;
                                     }));
    EXPECT_EQ(Ask(port, Get("/ask")).body, R"({"from":"farm"})");
    EXPECT_EQ(connection.Terminate(0), TermError::None);
    EXPECT_TRUE(isStoppedFirst);
}

TEST_F(StandaloneTransportTest, DoesNotStartWhatItCannotServe) {
    const std::string badFile = testing::TempDir() + "refused-settings.json";
    std::ofstream(badFile) << R"({"rest":{"maxBodyBytes":"4 MB"}})";
    BusConnection holder(MakeStandaloneTransport());
    const std::string held = std::to_string(Start(holder, MakeService("a.service", Echo)));
    const struct {
        const char* name;
        std::string host;
        std::string port;
        std::string file;
        InitError error;
        const char* log;
    } rows[] = {
        {"port in use", "localhost", held, "", InitError::CannotListen, "--port"},
        {"open to the world", "0.0.0.0", "0", "", InitError::CannotListen, "callers"},
        {"no host", "", "0", "", InitError::BadConfiguration, "\"host\""},
        {"no port", "localhost", "", "", InitError::BadConfiguration, "\"port\""},
        {"port out of range", "localhost", "65536", "", InitError::BadConfiguration, "\"port\""},
        {"port with more behind it", "localhost", "80x", "", InitError::BadConfiguration, "\"port\""},
        {"settings refused", "localhost", "0", badFile, InitError::BadConfiguration, "\"rest.maxBodyBytes\""},
        {"no settings there", "localhost", "0", badFile + ".no", InitError::BadConfiguration,
         "cannot be read"},
    };
    for (const auto& row : rows) {
        BusConnection connection(MakeStandaloneTransport());
        auto service = MakeService("a.service", Echo);
        service->SetHost(row.host);
        AddConfigData("port", row.port);
        connection.AssignServiceInfo(service);
        testing::internal::CaptureStderr();
        EXPECT_EQ(connection.Initialize(row.file, ""), row.error) << row.name;
        const std::string log = testing::internal::GetCapturedStderr();
        EXPECT_NE(log.find(row.log), std::string::npos) << row.name << ": " << log;
        EXPECT_FALSE(connection.IsRunning()) << row.name;
    }
    EXPECT_EQ(holder.Terminate(0), TermError::None);
}

}  // namespace
}  // namespace PlatformAbstraction::Standalone
