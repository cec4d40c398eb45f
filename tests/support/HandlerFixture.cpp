#include "tests/support/HandlerFixture.h"

#include <exception>
#include <utility>

#include "platform/messaging/ServiceInfo.h"

namespace TestSupport {

using CoreServices::Parameters;
using namespace PlatformAbstraction::Messaging;

namespace {

/// A bus that only hands out its messaging.
class MessagingAlone final : public BusTransport {
public:
    explicit MessagingAlone(std::shared_ptr<BusMessaging> messaging) : m_pMessaging(std::move(messaging)) {}

    InitError Start(std::shared_ptr<ServiceInfoApi>, const std::string&) override {
        return InitError::Failed;
    }
    bool IsRunning() const override { return false; }
    bool WaitUntilStopped() override { return false; }
    TermError Stop() override { return TermError::NotRunning; }
    std::shared_ptr<BusMessaging> GetMessaging() const override { return m_pMessaging; }

private:
    const std::shared_ptr<BusMessaging> m_pMessaging;
};

std::string LineOf(const MessageAnswer& answer) {
    switch (answer.kind) {
        case MessageAnswer::Kind::Results:
            return "OK " + answer.results.toJSON();
        case MessageAnswer::Kind::Text:
            return "TEXT " + answer.text;
        case MessageAnswer::Kind::Error:
            break;
    }
    return answer.code + ": " + answer.message +
           (answer.details.IsEmpty() ? "" : " " + answer.details.toJSON());
}

template <typename Call>
std::string LineOfCall(const Call& call) {
    try {
        return call();
    } catch (const Parameters& error) {
        return "thrown " + error.toJSON();
    } catch (const std::exception& failure) {
        return std::string("thrown ") + failure.what();
    }
}

}  // namespace

Parameters Json(const std::string& text) {
    return Parameters::fromJSON(text);
}

std::shared_ptr<MessageContext> MakeContext(std::shared_ptr<BusMessaging> messaging,
                                            const std::string& identityId) {
    const std::string identity = R"({"identityId":")" + identityId + "\"}";
    return std::make_shared<MessageContext>(
        identityId.empty()
            ? Parameters()
            : Json(R"({"context":{"identity":)" + identity + R"(},"identity":)" + identity + "}"),
        std::move(messaging));
}

std::shared_ptr<BusConnection> MakeConnection(std::shared_ptr<BusMessaging> messaging) {
    auto connection = std::make_shared<BusConnection>(std::make_unique<MessagingAlone>(std::move(messaging)));
    auto service = ConstructServiceInfo();
    service->SetNameRealmVersion("scheduler", "farm", 2);
    EXPECT_TRUE(connection->AssignServiceInfo(std::move(service)));
    return connection;
}

std::string HandlerFixture::Answer(ServiceMessageHandler& handler, const std::string& request,
                                   const std::string& identityId) {
    return LineOfCall([&] {
        ServiceMessageResponse response;
        EXPECT_TRUE(handler.HandleMessage(MakeContext(bus, identityId), Json(request), response));
        return response.GetAnswer() ? LineOf(*response.GetAnswer()) : "no answer";
    });
}

std::string HandlerFixture::Answer(ServiceMessageHandlerV2& handler, const std::string& request,
                                   const std::string& identityId) {
    return LineOfCall([&] {
        return "OK " + handler.HandleMessageV2(Json(request), MakeContext(bus, identityId)).toJSON();
    });
}

std::vector<std::string> HandlerFixture::Sent() const {
    static const std::string kWords[] = {"", "notification ", "broadcast "};
    std::vector<std::string> lines;
    for (const auto& [kind, to] : bus->Sent()) {
        lines.push_back(kWords[static_cast<std::size_t>(kind)] + to.service + "/" + to.realm + "/" +
                        std::to_string(to.version) + "/" + to.operation + " " + to.parameters.toJSON());
    }
    return lines;
}

}  // namespace TestSupport
