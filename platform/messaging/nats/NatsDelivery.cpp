#include "platform/messaging/nats/NatsDelivery.h"

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <utility>

#include "base/log/PlatformLog.h"
#include "platform/messaging/inprocess/MessagePosting.h"
#include "platform/messaging/nats/NatsEnvelope.h"
#include "platform/messaging/nats/NatsSubject.h"

namespace PlatformAbstraction::Messaging {

namespace {

using Kind = NatsRequest::Kind;

// Sends the answer to the inbox of whoever waits for it.
class InboxReceiver final : public AnswerReceiver {
public:
    InboxReceiver(std::weak_ptr<NatsLink> link, std::string_view inbox)
        : m_pLink(std::move(link)), m_inbox(inbox) {}

    void Prepare(MessageAnswer answer) override {
        m_data = WriteNatsAnswer(answer);
        const auto link = m_pLink.lock();
        const std::size_t limit = link ? link->MaxPayload() : m_data.size();
        if (m_data.size() > limit) {
            m_data = WriteNatsAnswer(MessageAnswer::OfError(
                kGenericServiceError, "The answer has " + std::to_string(m_data.size()) +
                                          " bytes, and the bus takes " + std::to_string(limit) + "."));
        }
    }

    void Send() override {
        const auto link = m_pLink.lock();
        if (!link || link->Publish(m_inbox, m_data) != NatsConnection::Sent::Yes) {
            Log::Warning("An answer was lost, for the bus is away.");
        }
    }

private:
    const std::weak_ptr<NatsLink> m_pLink;
    const std::string m_inbox;
    std::string m_data;
};

class Delivery {
public:
    Delivery(std::shared_ptr<ServiceEndpoint> endpoint, std::string service, std::weak_ptr<NatsLink> link)
        : m_pEndpoint(std::move(endpoint)), m_service(std::move(service)), m_pLink(std::move(link)) {}

    void operator()(const NatsConnection::Incoming& incoming) const {
        const std::string operation = OperationOfSubject(incoming.subject);
        std::unique_ptr<AnswerReceiver> receiver;
        if (!incoming.reply.empty()) {
            receiver = std::make_unique<InboxReceiver>(m_pLink, incoming.reply);
        }
        NatsRequest request;
        try {
            request = ReadNatsRequest(incoming.data);
        } catch (const std::runtime_error& error) {
            Refuse(operation, receiver.get(),
                   MessageAnswer::OfError(kBadRequest, "The message " + operation + " to the service " +
                                                           m_service + " cannot be read: " + error.what()));
            return;
        }
        Post(operation, std::move(request), std::move(receiver));
    }

private:
    void Post(const std::string& operation, NatsRequest request,
              std::unique_ptr<AnswerReceiver> receiver) const {
        const bool isAnswered = request.kind == Kind::Request;
        auto message = std::make_unique<QueuedMessage>(std::move(request.body), std::move(request.context),
                                                       isAnswered ? std::move(receiver) : nullptr);
        message->parent = request.parent;
        auto error = ErrorOf(m_pEndpoint->Post(operation, message), m_service, operation);
        if (error && isAnswered) {
            QueuedMessage::Refuse(std::move(message), std::move(*error));
        } else if (error) {
            Refuse(operation, receiver.get(), std::move(*error));
        } else if (request.kind == Kind::Notification) {
            Answer(receiver.get(), MessageAnswer());
        }
    }

    void Refuse(const std::string& operation, AnswerReceiver* receiver, MessageAnswer error) const {
        if (receiver == nullptr) {
            Log::Warning("The message \"" + operation + "\" to \"" + m_service + "\" was not taken: [" +
                         error.code + "] " + error.message);
            return;
        }
        Answer(receiver, std::move(error));
    }

    const std::shared_ptr<ServiceEndpoint> m_pEndpoint;
    const std::string m_service;
    const std::weak_ptr<NatsLink> m_pLink;
};

}  // namespace

NatsConnection::OnMessage DeliveryTo(std::shared_ptr<ServiceEndpoint> endpoint, std::string service,
                                     std::weak_ptr<NatsLink> link) {
    return [delivery =
                std::make_shared<const Delivery>(std::move(endpoint), std::move(service), std::move(link))](
               const auto& incoming) { (*delivery)(incoming); };
}

}  // namespace PlatformAbstraction::Messaging
