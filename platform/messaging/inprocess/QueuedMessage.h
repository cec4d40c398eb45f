#pragma once

#include <cstddef>
#include <memory>
#include <variant>

#include "base/parameters/Parameters.h"
#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/MessageContext.h"
#include "platform/messaging/MessageSink.h"

namespace PlatformAbstraction::Messaging {

/// One message on its way to a handler. Owned by the sender, then by the queue, then by the thread that
/// answers it; one thread at a time.
class QueuedMessage {
public:
    /// Where the answer goes; nowhere for a notification.
    using Receiver =
        std::variant<std::monostate, std::shared_ptr<MessageExchange>, MessageSink::AnswerCallback>;

    QueuedMessage(CoreServices::Parameters request, CoreServices::Parameters contextParameters,
                  Receiver receiver);

    /// Hands over the answer. Called once; what a receiver throws goes to the log.
    void End(MessageAnswer answer) noexcept;
    /// A notification: nobody hears the answer.
    bool IsWithoutReceiver() const noexcept;

    CoreServices::Parameters request;
    CoreServices::Parameters contextParameters;
    MessageId parent;           ///< the message under whose handling it was sent
    std::size_t operation = 0;  ///< the place of the handler in the table of the service
    /// Sent by a handler at work that may wait for the answer: such a message is taken while the bus stops.
    bool isPartOfWorkUnderWay = false;

private:
    Receiver m_receiver;
};

}  // namespace PlatformAbstraction::Messaging
