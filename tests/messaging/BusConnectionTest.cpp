#include "platform/messaging/BusConnection.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>

#include "tests/support/FakeBusMessaging.h"

namespace PlatformAbstraction::Messaging {
namespace {

using TestSupport::ToldTransport;

TEST(BusConnection, RefusesWhatComesOutOfOrder) {
    std::optional<InitError> told;
    BusConnection connection(std::make_unique<ToldTransport>([&] { return told.value(); }));
    EXPECT_EQ(connection.Initialize("", ""), InitError::NoServiceInfo);
    EXPECT_EQ(connection.Terminate(0), TermError::NotRunning);
    EXPECT_FALSE(connection.WaitUntilBusStops());
    const auto service = ConstructServiceInfo();
    EXPECT_FALSE(connection.AssignServiceInfo(nullptr) || connection.AssignServiceInfo(service));
    service->SetNameRealmVersion("a.service", "test", 2);
    EXPECT_TRUE(connection.AssignServiceInfo(service));
    EXPECT_EQ(connection.Initialize("", ""), InitError::Failed);
    told = InitError::CannotListen;
    EXPECT_EQ(connection.Initialize("", ""), InitError::CannotListen);
    EXPECT_FALSE(connection.IsRunning());
    told = InitError::None;
    EXPECT_EQ(connection.Initialize("", ""), InitError::None);
    EXPECT_TRUE(connection.IsRunning());
    EXPECT_EQ(connection.Initialize("", ""), InitError::AlreadyInitialized);
    EXPECT_FALSE(connection.AssignServiceInfo(service));
    EXPECT_EQ(connection.GetServiceInfo(), service);
}

TEST(DeploymentMode, OnlyWhatIsOnOfferCanBeChosen) {
    EXPECT_THROW(BusConnection(), std::logic_error);
    OfferDeploymentMode("told", [] { return std::make_unique<ToldTransport>(nullptr); });
    EXPECT_FALSE(InitializeDeploymentMode("Told") || InitializeDeploymentMode(""));
    EXPECT_THROW(MakeBusTransport(), std::logic_error);
    EXPECT_TRUE(InitializeDeploymentMode("told"));
    // A refused mode leaves the choice alone.
    EXPECT_FALSE(InitializeDeploymentMode("distributed"));
    EXPECT_NO_THROW(BusConnection());
}

}  // namespace
}  // namespace PlatformAbstraction::Messaging
