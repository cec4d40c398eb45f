#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "base/parameters/Parameters.h"
#include "platform/messaging/BusConnection.h"
#include "platform/messaging/MessageContext.h"
#include "platform/messaging/ServiceMessageHandler.h"
#include "tests/support/FakeBusMessaging.h"
#include "tests/support/StoresInPlace.h"

namespace TestSupport {

/// A tree from its text.
CoreServices::Parameters Json(const std::string& text);

/// The context of a message. The identity of a known caller stands where a gateway puts it: as
/// `context`.`identity` and as `identity` at the top level.
std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> MakeContext(
    std::shared_ptr<PlatformAbstraction::Messaging::BusMessaging> messaging,
    const std::string& identityId = "");

/// A connection that is never started, of a service in the realm "farm": enough for handlers that send
/// through it.
std::shared_ptr<PlatformAbstraction::Messaging::BusConnection> MakeConnection(
    std::shared_ptr<PlatformAbstraction::Messaging::BusMessaging> messaging);

/// Fake stores and a fake bus around the handlers under test, whose answers come as one line of text.
class HandlerFixture : public testing::Test {
protected:
    /// "OK " and the tree, "TEXT " and the text, "<code>: <message>" and the details, where there are any, or
    /// "thrown " and the tree or the text of what was thrown.
    std::string Answer(PlatformAbstraction::Messaging::ServiceMessageHandler& handler,
                       const std::string& request, const std::string& identityId = "");
    std::string Answer(PlatformAbstraction::Messaging::ServiceMessageHandlerV2& handler,
                       const std::string& request, const std::string& identityId = "");

    /// What was sent so far, one line each: "<service>/<realm>/<version>/<operation> <body>", with a word in
    /// front where it was no request.
    std::vector<std::string> Sent() const;

    static ScriptedAnswer Results(const std::string& json) { return ScriptedAnswer::Results(Json(json)); }

    StoresInPlace stores;
    const std::shared_ptr<FakeBusMessaging> bus = std::make_shared<FakeBusMessaging>();
    const std::shared_ptr<PlatformAbstraction::Messaging::BusConnection> connection = MakeConnection(bus);
};

}  // namespace TestSupport
