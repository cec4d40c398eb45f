#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/messaging/BusMessaging.h"
#include "platform/messaging/MessageAnswer.h"
#include "platform/messaging/MessageSink.h"
#include "platform/messaging/inprocess/QueuedMessage.h"
#include "platform/messaging/inprocess/ServiceEndpoint.h"

namespace PlatformAbstraction::Messaging {

// What buses do with the instances of services that live in this process, and what they tell senders.

using Instances = std::vector<std::shared_ptr<ServiceEndpoint>>;

/// To the first instance that takes the message.
Acceptance PostToOne(const Instances& instances, const std::string& operation,
                     std::unique_ptr<QueuedMessage>& message);

/// Takes the instance out of the list, if it is in it; gives what was taken out.
Instances TakeOut(Instances& instances, const std::shared_ptr<MessageSink>& attached);

/// Takes from outside no more, lets what is under way and waiting come to its end until the deadline, and
/// lets the handlers go.
void StopInstances(const Instances& instances, WorkerPool::Clock::time_point deadline);

/// What a sender is told of a message that was not taken.
std::optional<MessageAnswer> ErrorOf(Acceptance acceptance, const std::string& service,
                                     const std::string& operation);
MessageAnswer ServiceNotFound(const std::string& service, const std::string& realm, std::int32_t version);

/// The future of a message that nobody answers: handed over, or the error.
std::shared_ptr<MessageResultsFuture> EndedFuture(std::optional<MessageAnswer> error);

/// Brings the answer to whoever waits for it.
class ExchangeEnd final : public AnswerReceiver {
public:
    explicit ExchangeEnd(std::shared_ptr<MessageExchange> exchange) : m_pExchange(std::move(exchange)) {}

    void Prepare(MessageAnswer answer) override { m_answer = std::move(answer); }
    void Send() override { m_pExchange->End(std::move(m_answer)); }

private:
    const std::shared_ptr<MessageExchange> m_pExchange;
    MessageAnswer m_answer;
};

}  // namespace PlatformAbstraction::Messaging
