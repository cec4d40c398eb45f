#pragma once

#include <functional>
#include <string_view>

#include "base/parameters/Parameters.h"
#include "platform/messaging/MessageAnswer.h"

namespace PlatformAbstraction::Messaging {

/// Where a gateway hands in the messages that came from outside: the queue of one service on the bus. Any
/// thread may call.
class MessageSink {
public:
    virtual ~MessageSink() = default;

    /// Called once with the answer: on a thread of the service, or, where the message is not taken, with the
    /// error that says why ("QUEUE_FULL", "SERVICE_STOPPING", "OPERATION_NOT_FOUND") before `Deliver`
    /// returns.
    using AnswerCallback = std::function<void(MessageAnswer answer)>;

    virtual void Deliver(std::string_view operation, CoreServices::Parameters request,
                         CoreServices::Parameters contextParameters, AnswerCallback onAnswer) = 0;
};

}  // namespace PlatformAbstraction::Messaging
