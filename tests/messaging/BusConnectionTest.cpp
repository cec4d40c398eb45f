#include "platform/messaging/BusConnection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/messaging/BusTransport.h"
#include "tests/messaging/FunctionHandlers.h"

namespace PlatformAbstraction::Messaging {
namespace {

using testing::_;
using testing::Assign;
using testing::DoAll;
using testing::NiceMock;
using testing::Return;
using testing::ReturnPointee;
using testing::Throw;

class MockTransport : public BusTransport {
public:
    MOCK_METHOD(InitError, Start, (std::shared_ptr<ServiceInfoApi>, const std::string&), (override));
    MOCK_METHOD(bool, IsRunning, (), (const, override));
    MOCK_METHOD(bool, WaitUntilStopped, (), (override));
    MOCK_METHOD(TermError, Stop, (), (override));
    MOCK_METHOD(std::shared_ptr<BusMessaging>, GetMessaging, (), (const, override));
};

std::shared_ptr<ServiceInfoApi> NamedService() {
    auto service = ConstructServiceInfo();
    service->SetNameRealmVersion("a.service", "test", 2);
    return service;
}

TEST(BusConnection, RefusesWhatComesOutOfOrder) {
    auto transport = std::make_unique<NiceMock<MockTransport>>();
    auto& bus = *transport;
    BusConnection connection(std::move(transport));
    ON_CALL(bus, IsRunning).WillByDefault(Return(true));
    EXPECT_CALL(bus, Start(_, ""))
        .WillOnce(Throw(std::runtime_error("no")))
        .WillOnce(Return(InitError::CannotListen));
    EXPECT_CALL(bus, Start(_, "bus.json")).WillOnce(Return(InitError::None));
    EXPECT_EQ(connection.Initialize("", ""), InitError::NoServiceInfo);
    EXPECT_EQ(connection.Terminate(0), TermError::NotRunning);
    EXPECT_FALSE(connection.WaitUntilBusStops());
    EXPECT_FALSE(connection.AssignServiceInfo(nullptr) ||
                 connection.AssignServiceInfo(ConstructServiceInfo()));
    EXPECT_EQ(connection.GetServiceInfo(), nullptr);

    const auto service = NamedService();
    EXPECT_TRUE(connection.AssignServiceInfo(service));
    EXPECT_EQ(connection.Initialize("", ""), InitError::Failed);
    EXPECT_EQ(connection.Initialize("", ""), InitError::CannotListen);
    EXPECT_FALSE(connection.IsRunning());
    EXPECT_EQ(connection.Initialize("bus.json", ""), InitError::None);
    EXPECT_TRUE(connection.IsRunning());
    EXPECT_EQ(connection.Initialize("", ""), InitError::AlreadyInitialized);
    EXPECT_FALSE(connection.AssignServiceInfo(NamedService()));
    EXPECT_EQ(connection.GetServiceInfo(), service);
}

TEST(BusConnection, LetsTheHandlersThatHoldItGoWhenTheBusHasStopped) {
    for (const bool byTerminate : {true, false}) {
        auto transport = std::make_unique<NiceMock<MockTransport>>();
        bool isRunning = true;
        ON_CALL(*transport, IsRunning).WillByDefault(ReturnPointee(&isRunning));
        ON_CALL(*transport, Stop).WillByDefault(DoAll(Assign(&isRunning, false), Return(TermError::None)));
        ON_CALL(*transport, WaitUntilStopped).WillByDefault(DoAll(Assign(&isRunning, false), Return(true)));
        auto connection = std::make_shared<BusConnection>(std::move(transport));
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
    EXPECT_THROW(BusConnection(), std::logic_error);
    OfferDeploymentMode("mocked", [] { return std::make_unique<NiceMock<MockTransport>>(); });
    EXPECT_FALSE(InitializeDeploymentMode("Mocked") || InitializeDeploymentMode(""));
    EXPECT_THROW(MakeBusTransport(), std::logic_error);
    EXPECT_TRUE(InitializeDeploymentMode("mocked"));
    EXPECT_NE(MakeBusTransport(), nullptr);
    // A refused mode leaves the choice alone.
    EXPECT_FALSE(InitializeDeploymentMode("distributed"));
    EXPECT_NO_THROW(BusConnection());
}

}  // namespace
}  // namespace PlatformAbstraction::Messaging
