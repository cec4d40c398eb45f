#include "BusConnection.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>

#include "DeploymentMode.h"
#include "FunctionHandlers.h"

namespace PlatformAbstraction::Messaging {
namespace {

// What the connection asked of its bus, and what the bus is to say.
struct Script {
    InitError startError = InitError::None;
    bool startThrows = false;
    bool isRunning = false;
    std::string configuration;
};

class ScriptedTransport final : public BusTransport {
public:
    explicit ScriptedTransport(Script& script) : m_script(script) {}
    InitError Start(std::shared_ptr<ServiceInfoApi> /*service*/, const std::string& configuration) override {
        m_script.configuration = configuration;
        if (m_script.startThrows) {
            throw std::runtime_error("no");
        }
        m_script.isRunning = m_script.startError == InitError::None;
        return m_script.startError;
    }
    bool IsRunning() const override { return m_script.isRunning; }
    bool WaitUntilStopped() override {
        m_script.isRunning = false;
        return true;
    }
    TermError Stop() override {
        m_script.isRunning = false;
        return TermError::None;
    }
    std::shared_ptr<BusMessaging> GetMessaging() const override { return nullptr; }

private:
    Script& m_script;
};

std::shared_ptr<ServiceInfoApi> NamedService() {
    auto service = ConstructServiceInfo();
    service->SetNameRealmVersion("a.service", "test", 2);
    return service;
}

TEST(BusConnection, RefusesWhatComesOutOfOrder) {
    Script script;
    BusConnection connection(std::make_unique<ScriptedTransport>(script));
    EXPECT_EQ(connection.Initialize("", ""), InitError::NoServiceInfo);
    EXPECT_EQ(connection.Terminate(0), TermError::NotRunning);
    EXPECT_FALSE(connection.WaitUntilBusStops());
    EXPECT_FALSE(connection.AssignServiceInfo(nullptr));
    EXPECT_FALSE(connection.AssignServiceInfo(ConstructServiceInfo()));
    EXPECT_EQ(connection.GetServiceInfo(), nullptr);

    const auto service = NamedService();
    EXPECT_TRUE(connection.AssignServiceInfo(service));
    EXPECT_FALSE(connection.IsRunning());
    script.startThrows = true;
    EXPECT_EQ(connection.Initialize("", ""), InitError::Failed);
    script.startThrows = false;
    script.startError = InitError::CannotListen;
    EXPECT_EQ(connection.Initialize("", ""), InitError::CannotListen);
    EXPECT_FALSE(connection.IsRunning());
    script.startError = InitError::None;
    EXPECT_EQ(connection.Initialize("bus.json", ""), InitError::None);
    EXPECT_EQ(script.configuration, "bus.json");
    EXPECT_TRUE(connection.IsRunning());

    EXPECT_EQ(connection.Initialize("", ""), InitError::AlreadyInitialized);
    EXPECT_FALSE(connection.AssignServiceInfo(NamedService()));
    EXPECT_EQ(connection.GetServiceInfo(), service);
}

class HandlerWithConnection final : public ServiceMessageHandlerV2 {
public:
    explicit HandlerWithConnection(std::shared_ptr<BusConnection> connection)
        : m_pConnection(std::move(connection)) {}
    RegistrationParams GetRegistrationParams() const override { return TestSupport::Registration("m"); }
    CoreServices::Parameters HandleMessageV2(const CoreServices::Parameters& /*request*/,
                                             std::shared_ptr<MessageContext> /*context*/) override {
        return {};
    }

private:
    const std::shared_ptr<BusConnection> m_pConnection;
};

TEST(BusConnection, LetsTheHandlersThatHoldItGoWhenTheBusHasStopped) {
    for (const bool byTerminate : {true, false}) {
        Script script;
        auto connection = std::make_shared<BusConnection>(std::make_unique<ScriptedTransport>(script));
        const auto service = NamedService();
        service->AddMessageHandlerV2(std::make_shared<HandlerWithConnection>(connection));
        connection->AssignServiceInfo(service);
        connection->Initialize("", "");
        EXPECT_TRUE(service->HasMessageHandlers());
        byTerminate ? void(connection->Terminate(0)) : void(connection->WaitUntilBusStops());
        EXPECT_EQ(connection.use_count(), 1);
    }
}

TEST(BusConnection, EveryErrorHasATextOfItsOwn) {
    std::set<std::string> texts;
    for (int error = 0; error <= static_cast<int>(InitError::Failed) + 1; ++error) {
        texts.insert(BusConnection::InitErrorToStr(static_cast<InitError>(error)));
    }
    EXPECT_EQ(texts.size(), static_cast<std::size_t>(InitError::Failed) + 2);
}

TEST(DeploymentMode, OnlyWhatIsOnOfferCanBeChosen) {
    Script script;
    EXPECT_THROW(BusConnection(), std::logic_error);
    OfferDeploymentMode("scripted", [&script] { return std::make_unique<ScriptedTransport>(script); });
    EXPECT_FALSE(InitializeDeploymentMode("Scripted"));
    EXPECT_FALSE(InitializeDeploymentMode(""));
    EXPECT_THROW(MakeBusTransport(), std::logic_error);
    EXPECT_TRUE(InitializeDeploymentMode("scripted"));
    EXPECT_NE(MakeBusTransport(), nullptr);
    // A refused mode leaves the choice alone.
    EXPECT_FALSE(InitializeDeploymentMode("distributed"));
    EXPECT_FALSE(BusConnection().IsRunning());
}

}  // namespace
}  // namespace PlatformAbstraction::Messaging
