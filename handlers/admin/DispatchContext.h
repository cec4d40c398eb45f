#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "handlers/admin/ThreadStarter.h"
#include "platform/messaging/BusConnection.h"
#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/ServiceMessageDispatch.h"
#include "platform/messaging/ServiceMessageResponse.h"
#include "platform/notifiers/IGenericNotifier.h"

namespace Weftline::Services::Scheduler {

/// How long configuration threads look out for a failure: one millisecond. Later ones are not seen.
inline constexpr int kDispatchWaitMicroseconds = 1000;

/// What a thread that passes configuration on carries, and keeps alive by it.
struct DispatchContext {
    std::shared_ptr<PlatformAbstraction::Messaging::BusConnection> busConnection;
    int waitMicroseconds = kDispatchWaitMicroseconds;
    std::shared_ptr<PlatformAbstraction::IGenericNotifier> notifier;
};

/// A message to a service of this service's own realm.
PlatformAbstraction::Messaging::ServiceMessageDispatch MakeDispatchInOwnRealm(const DispatchContext& context,
                                                                              const std::string& service,
                                                                              std::int32_t version,
                                                                              const std::string& operation);

/// `SendNotification` or `BroadcastNotification`.
using SendOperation = std::shared_ptr<PlatformAbstraction::Messaging::MessageResultsFuture> (
    PlatformAbstraction::Messaging::BusMessaging::*)(
    const PlatformAbstraction::Messaging::ServiceMessageDispatch& dispatch);

/// Sends, and gives the failure that shows within the context's wait: `failureLabel`, the service, and code
/// and message of the error.
std::optional<std::string> SendAndAwait(
    const DispatchContext& context, const PlatformAbstraction::Messaging::ServiceMessageDispatch& dispatch,
    SendOperation send, std::string_view failureLabel);

/// Runs `work` on a thread of its own, with its own copy of the context. What it throws, the notifier is
/// told.
void StartDispatch(const ThreadStarter& startThread, DispatchContext context,
                   std::function<void(const DispatchContext& context)> work);

/// Answers with the exception in flight, in the name of `place`. To be called inside a catch block.
bool RespondCaughtError(PlatformAbstraction::Messaging::ServiceMessageResponse& response,
                        const std::string& place);

}  // namespace Weftline::Services::Scheduler
