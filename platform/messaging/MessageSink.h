#pragma once

#include <functional>
#include <string>

#include "base/parameters/Parameters.h"
#include "platform/messaging/MessageAnswer.h"

namespace PlatformAbstraction::Messaging {

/// Where a gateway hands in the messages that came from outside: the queue of one service on the bus. Any
/// thread may call.
class MessageSink {
public:
    virtual ~MessageSink() = default;

    /// Called once, on a thread of the service, with the answer.
    using AnswerCallback = std::function<void(MessageAnswer answer)>;

    enum class Acceptance {
        Accepted,   ///< the callback will come
        NotFound,   ///< no such operation; no callback
        QueueFull,  ///< no callback; the sender may come again
        Stopping,   ///< no callback; the service takes no more messages
    };

    virtual Acceptance Deliver(const std::string& operation, CoreServices::Parameters request,
                               CoreServices::Parameters contextParameters, AnswerCallback onAnswer) = 0;
};

}  // namespace PlatformAbstraction::Messaging
