#pragma once

#include <boost/intrusive/list_hook.hpp>
#include <cstddef>
#include <memory>

#include "base/concurrency/HeldOutput.h"
#include "base/parameters/Parameters.h"
#include "platform/messaging/MessageAnswer.h"
#include "platform/messaging/MessageContext.h"
#include "platform/messaging/MessageSink.h"

namespace PlatformAbstraction::Messaging {

class HeldMessages;

/// One message on its way to a handler. Owned by the sender, then by the queue, then by the thread that runs
/// its handler, one thread at a time; and by itself, once the handler is through and its answer waits for a
/// write.
class QueuedMessage final : public HeldOutput, public boost::intrusive::list_base_hook<> {
public:
    /// `receiver` is null for a notification.
    QueuedMessage(CoreServices::Parameters request, CoreServices::Parameters contextParameters,
                  std::unique_ptr<AnswerReceiver> receiver);

    /// The handler is through: the answer goes out now, or, where writes are held, once they have ended. Then
    /// `held` keeps it in sight. What a receiver throws goes to the log.
    static void EndWork(std::unique_ptr<QueuedMessage> message, MessageAnswer answer,
                        const std::shared_ptr<HeldMessages>& held) noexcept;
    /// Ends a message that no handler came to.
    static void Refuse(std::unique_ptr<QueuedMessage> message, MessageAnswer answer) noexcept;

    bool HasReceiver() const noexcept { return m_pReceiver != nullptr; }
    void SetReceiver(std::unique_ptr<AnswerReceiver> receiver) noexcept;
    std::unique_ptr<AnswerReceiver> TakeReceiver() noexcept { return std::move(m_pReceiver); }

    bool IsAlone() const noexcept override { return isAlone; }

    CoreServices::Parameters request;
    CoreServices::Parameters contextParameters;
    MessageId parent;           ///< the message under whose handling it was sent
    std::size_t operation = 0;  ///< the place of the handler in the table of the service
    /// Sent by a handler at work that may wait for the answer: such a message is taken while the bus stops.
    bool isPartOfWorkUnderWay = false;
    bool isAlone = false;  ///< no other message was at work or waited when a thread took it

private:
    void GoOut(const std::string* failure) noexcept override;

    std::unique_ptr<AnswerReceiver> m_pReceiver;
    std::shared_ptr<HeldMessages> m_pHeldBy;
};

/// Hands `answer` to `receiver`, if there is one. What it throws goes to the log.
void Answer(AnswerReceiver* receiver, MessageAnswer answer) noexcept;

}  // namespace PlatformAbstraction::Messaging
