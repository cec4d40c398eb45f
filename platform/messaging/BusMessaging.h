#pragma once

#include <memory>

#include "platform/messaging/MessageResultsFuture.h"
#include "platform/messaging/ServiceMessageDispatch.h"

namespace PlatformAbstraction::Messaging {

/// How a service talks to others. Shared; any thread may call. None of the operations waits or throws for a
/// receiver that is not there: the future ends at once with the error that says so.
class BusMessaging {
public:
    /// The future ends with the receiver's answer.
    virtual std::shared_ptr<MessageResultsFuture> SendRequest(const ServiceMessageDispatch& dispatch) = 0;
    /// No answer comes: the future ends once the message is handed over, or with an error.
    virtual std::shared_ptr<MessageResultsFuture> SendNotification(
        const ServiceMessageDispatch& dispatch) = 0;
    /// To every instance of the service; none is no error.
    virtual std::shared_ptr<MessageResultsFuture> BroadcastNotification(
        const ServiceMessageDispatch& dispatch) = 0;
    virtual ~BusMessaging() = default;
};

}  // namespace PlatformAbstraction::Messaging
