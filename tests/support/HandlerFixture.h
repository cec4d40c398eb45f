#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <concepts>
#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/messaging/BusConnection.h"
#include "tests/messaging/FunctionHandlers.h"
#include "tests/support/FakeBusMessaging.h"
#include "tests/support/FakeStores.h"

namespace TestSupport {

/// A tree from its text.
inline CoreServices::Parameters Json(const std::string& text) {
    return CoreServices::Parameters::fromJSON(text);
}

/// The context of a message. The identity of a known caller stands where a gateway puts it: as
/// `context`.`identity` and as `identity` at the top level.
inline std::shared_ptr<Messaging::MessageContext> MakeContext(
    std::shared_ptr<Messaging::BusMessaging> messaging, const std::string& identityId = "") {
    const std::string identity = R"("identity":{"identityId":")" + identityId + "\"}";
    const std::string tree = identityId.empty() ? "{}" : R"({"context":{)" + identity + "}," + identity + "}";
    return std::make_shared<Messaging::MessageContext>(Json(tree), std::move(messaging));
}

/// A connection that is never started, of a service in the realm "farm": enough for handlers that send
/// through it.
inline std::shared_ptr<Messaging::BusConnection> MakeConnection(
    std::shared_ptr<Messaging::BusMessaging> messaging) {
    auto connection = std::make_shared<Messaging::BusConnection>(
        std::make_unique<ToldTransport>([] { return Messaging::InitError::Failed; }, std::move(messaging)));
    auto service = Messaging::ConstructServiceInfo();
    service->SetNameRealmVersion("scheduler", "farm", 2);
    EXPECT_TRUE(connection->AssignServiceInfo(std::move(service)));
    return connection;
}

/// Fake stores and a fake bus around the handlers under test, whose answers come as one line of text.
class HandlerFixture : public testing::Test {
protected:
    /// As `LineOf` says it, or "thrown " and the tree or the text of what was thrown.
    template <typename Handler>
    std::string Answer(Handler&& handler, const std::string& request, const std::string& identityId = "") {
        const auto context = MakeContext(bus, identityId);
        try {
            if constexpr (std::derived_from<std::decay_t<Handler>, Messaging::ServiceMessageHandlerV2>) {
                return "OK " + handler.HandleMessageV2(Json(request), context).toJSON();
            } else {
                Messaging::ServiceMessageResponse response;
                EXPECT_TRUE(handler.HandleMessage(context, Json(request), response));
                return response.GetAnswer() ? LineOf(*response.GetAnswer()) : "no answer";
            }
        } catch (const CoreServices::Parameters& error) {
            return "thrown " + error.toJSON();
        } catch (const std::exception& failure) {
            return std::string("thrown ") + failure.what();
        }
    }

    /// What was sent so far, one line each: "<service>/<realm>/<version>/<operation> <body>", with a word in
    /// front where it was no request.
    std::vector<std::string> Sent() const {
        std::vector<std::string> lines;
        for (const auto& [word, to] : bus->Sent()) {
            lines.push_back(word + to.service + "/" + to.realm + "/" + std::to_string(to.version) + "/" +
                            to.operation + " " + to.parameters.toJSON());
        }
        return lines;
    }

    static ScriptedAnswer Results(const std::string& json) { return ScriptedAnswer::Results(Json(json)); }

    StoresInPlace stores;
    const std::shared_ptr<FakeBusMessaging> bus = std::make_shared<FakeBusMessaging>();
    const std::shared_ptr<Messaging::BusConnection> connection = MakeConnection(bus);
};

}  // namespace TestSupport
