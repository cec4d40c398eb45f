#include "platform/messaging/BusConnection.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>

#include "platform/messaging/BusTransport.h"
#include "tests/messaging/FunctionHandlers.h"

namespace PlatformAbstraction::Messaging {
namespace {

/// A bus that starts as it is told: with an error, with an exception where there is none, or well.
class ToldTransport final : public BusTransport {
public:
    explicit ToldTransport(const std::optional<InitError>& told) : m_told(told) {}

    InitError Start(std::shared_ptr<ServiceInfoApi> /*service*/, const std::string&) override {
        const InitError error = m_told.value();
        m_isRunning = error == InitError::None;
        return error;
    }
    bool IsRunning() const override { return m_isRunning; }
    bool WaitUntilStopped() override { return std::exchange(m_isRunning, false); }
    TermError Stop() override { return m_isRunning = false, TermError::None; }
    std::shared_ptr<BusMessaging> GetMessaging() const override { return nullptr; }

private:
    const std::optional<InitError>& m_told;
    bool m_isRunning = false;
};

std::shared_ptr<ServiceInfoApi> NamedService() {
    auto service = ConstructServiceInfo();
    service->SetNameRealmVersion("a.service", "test", 2);
    return service;
}

TEST(BusConnection, RefusesWhatComesOutOfOrder) {
    std::optional<InitError> told;
    BusConnection connection(std::make_unique<ToldTransport>(told));
    EXPECT_EQ(connection.Initialize("", ""), InitError::NoServiceInfo);
    EXPECT_EQ(connection.Terminate(0), TermError::NotRunning);
    EXPECT_FALSE(connection.WaitUntilBusStops());
    EXPECT_FALSE(connection.AssignServiceInfo(nullptr) ||
                 connection.AssignServiceInfo(ConstructServiceInfo()));

    const auto service = NamedService();
    EXPECT_TRUE(connection.AssignServiceInfo(service));
    EXPECT_EQ(connection.Initialize("", ""), InitError::Failed);
    told = InitError::CannotListen;
    EXPECT_EQ(connection.Initialize("", ""), InitError::CannotListen);
    EXPECT_FALSE(connection.IsRunning());
    told = InitError::None;
    EXPECT_EQ(connection.Initialize("", ""), InitError::None);
    EXPECT_TRUE(connection.IsRunning());
    EXPECT_EQ(connection.Initialize("", ""), InitError::AlreadyInitialized);
    EXPECT_FALSE(connection.AssignServiceInfo(NamedService()));
    EXPECT_EQ(connection.GetServiceInfo(), service);
}

TEST(BusConnection, LetsTheHandlersThatHoldItGoWhenTheBusHasStopped) {
    const std::optional<InitError> well = InitError::None;
    for (const bool byTerminate : {true, false}) {
        auto connection = std::make_shared<BusConnection>(std::make_unique<ToldTransport>(well));
        const auto service = NamedService();
        service->AddMessageHandlerV2(std::make_shared<TestSupport::FunctionHandlerV2>(
            TestSupport::Registration("m"),
            [connection](const auto& request, const TestSupport::ContextPointer&) { return request; }));
        connection->AssignServiceInfo(service);
        connection->Initialize("", "");
        EXPECT_GT(connection.use_count(), 1);
        byTerminate ? void(connection->Terminate(0)) : void(connection->WaitUntilBusStops());
        EXPECT_EQ(connection.use_count(), 1);
    }
}

TEST(DeploymentMode, OnlyWhatIsOnOfferCanBeChosen) {
    static const std::optional<InitError> kNothing;
    EXPECT_THROW(BusConnection(), std::logic_error);
    OfferDeploymentMode("told", [] { return std::make_unique<ToldTransport>(kNothing); });
    EXPECT_FALSE(InitializeDeploymentMode("Told") || InitializeDeploymentMode(""));
    EXPECT_THROW(MakeBusTransport(), std::logic_error);
    EXPECT_TRUE(InitializeDeploymentMode("told"));
    // A refused mode leaves the choice alone.
    EXPECT_FALSE(InitializeDeploymentMode("distributed"));
    EXPECT_NO_THROW(BusConnection());
}

}  // namespace
}  // namespace PlatformAbstraction::Messaging
