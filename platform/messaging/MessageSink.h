#pragma once

#include <memory>
#include <string_view>

#include "base/parameters/Parameters.h"
#include "platform/messaging/MessageAnswer.h"

namespace PlatformAbstraction::Messaging {

/// Where the answer of one message goes, in two steps, for it may have to wait until what it tells is on
/// disk. Owned by the message, which ends it with one `Send`; it may go without one while the service stops.
class AnswerReceiver {
public:
    AnswerReceiver() = default;
    AnswerReceiver(const AnswerReceiver&) = delete;
    AnswerReceiver& operator=(const AnswerReceiver&) = delete;
    virtual ~AnswerReceiver() = default;

    /// Makes of the answer what will go out. Once as a rule, on the thread of the handler, and so the place
    /// for what takes time; a second time, with an error in place of the first answer, where that has turned
    /// out not to be true.
    virtual void Prepare(MessageAnswer answer) = 0;
    /// Lets it go out. On any thread, perhaps one that has many to send: neither waits nor works for long.
    virtual void Send() = 0;
};

/// Where a gateway hands in the messages that came from outside: the queue of one service on the bus. Any
/// thread may call.
class MessageSink {
public:
    virtual ~MessageSink() = default;

    /// The receiver gets the answer on a thread of the service, or, where the message is not taken, the error
    /// that says why ("QUEUE_FULL", "SERVICE_STOPPING", "OPERATION_NOT_FOUND", "BUS_AWAY") before `Deliver`
    /// returns.
    virtual void Deliver(std::string_view operation, CoreServices::Parameters request,
                         CoreServices::Parameters contextParameters,
                         std::unique_ptr<AnswerReceiver> receiver) = 0;
};

}  // namespace PlatformAbstraction::Messaging
