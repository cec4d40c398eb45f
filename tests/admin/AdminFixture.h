#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "BusConnection.h"
#include "FakeBusMessaging.h"
#include "MessageContext.h"
#include "Parameters.h"
#include "ServiceMessageHandler.h"
#include "ThreadStarter.h"

namespace Weftline::Services::Scheduler {

/// A fake bus, and what handlers are given; answers come as one line of text.
class AdminFixture : public testing::Test {
protected:
    /// From a caller of that identity, or from nobody: "OK " and the tree, or "<code>: <message>".
    std::string Answer(PlatformAbstraction::Messaging::ServiceMessageHandler& handler,
                       const std::string& requestJson, const std::string& identityId = "");
    std::shared_ptr<PlatformAbstraction::Messaging::MessageContext> Context(
        const std::string& identityId = "");
    /// Of a service in the realm "farm".
    std::shared_ptr<PlatformAbstraction::Messaging::BusConnection> Connection();
    /// What was sent so far, one line each: "<service>/<realm>/<version>/<operation> <body>".
    std::vector<std::string> Sent() const;

    static TestSupport::ScriptedAnswer Results(const std::string& json);

    std::shared_ptr<TestSupport::FakeBusMessaging> bus = std::make_shared<TestSupport::FakeBusMessaging>();
};

/// Runs the work at once, on the thread of the caller.
inline const ThreadStarter kRunInPlace = [](const std::function<void()>& work) { work(); };

}  // namespace Weftline::Services::Scheduler
