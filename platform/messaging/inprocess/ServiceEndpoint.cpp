#include "platform/messaging/inprocess/ServiceEndpoint.h"

#include <optional>
#include <utility>
#include <vector>

#include "base/log/PlatformLog.h"
#include "platform/messaging/HandlerInvocation.h"
#include "platform/messaging/inprocess/InProcessBus.h"

namespace PlatformAbstraction::Messaging {

namespace {

struct Operation {
    std::string name;
    HandlerFunction answer;
};

// A notification has nobody who hears of its end, so an error goes to the log.
class NotificationEnd final : public AnswerReceiver {
public:
    NotificationEnd(std::string operation, std::string service)
        : m_operation(std::move(operation)), m_service(std::move(service)) {}

    void Prepare(MessageAnswer answer) override { m_answer = std::move(answer); }
    void Send() override {
        if (m_answer.kind == MessageAnswer::Kind::Error) {
            Log::Warning("The notification \"" + m_operation + "\" to \"" + m_service + "\" failed: [" +
                         m_answer.code + "] " + m_answer.message);
        }
    }

private:
    const std::string m_operation;
    const std::string m_service;
    MessageAnswer m_answer;
};

// What the threads of a service share: its handlers, and how these talk. It goes with the last thread.
class MessageRunner {
public:
    MessageRunner(std::string service, std::vector<Operation> operations, MessagingFactory messaging)
        : m_service(std::move(service)),
          m_operations(std::move(operations)),
          m_makeMessaging(std::move(messaging)) {}

    void Run(WorkerPool::Work message, const std::shared_ptr<HeldMessages>& held) const noexcept {
        const Operation& operation = m_operations[message->operation];
        MessageAnswer answer;
        {
            const HeldOutput::Work work(*message);
            answer = AnswerOf(operation, *message);
        }
        QueuedMessage::EndWork(std::move(message), std::move(answer), held);
    }

private:
    MessageAnswer AnswerOf(const Operation& operation, QueuedMessage& message) const noexcept {
        try {
            if (!message.HasReceiver()) {
                message.SetReceiver(std::make_unique<NotificationEnd>(operation.name, m_service));
            }
            auto messaging = m_makeMessaging(message.contextParameters, NewMessageId());
            auto context = std::make_shared<MessageContext>(message.contextParameters, std::move(messaging),
                                                            message.parent);
            return operation.answer(message.request, std::move(context));
        } catch (...) {
            return AnswerOfCurrentException();
        }
    }

    const std::string m_service;
    const std::vector<Operation> m_operations;
    const MessagingFactory m_makeMessaging;
};

// For clients, who know nothing of services.
std::optional<MessageAnswer> RefusalOf(Acceptance acceptance) {
    switch (acceptance) {
        case Acceptance::Accepted:
            return std::nullopt;
        case Acceptance::NotFound:
            return MessageAnswer::OfError(kOperationNotFound, "There is no such message.");
        case Acceptance::QueueFull:
            return MessageAnswer::OfError(kQueueFull, "Too many messages are waiting; try again later.");
        case Acceptance::Stopping:
            return MessageAnswer::OfError(kServiceStopping, "The service is stopping.");
    }
    return MessageAnswer::OfError(kGenericServiceError, "The message was not taken.");
}

std::vector<Operation> OperationsOf(const ServiceInfo& service) {
    std::vector<Operation> operations;
    for (const RegistrationParams& registration : service.GetRegistrations()) {
        operations.push_back({registration.name, FindHandlerFunction(service, registration.name)});
    }
    return operations;
}

}  // namespace

ServiceEndpoint::ServiceEndpoint(const ServiceInfo& service, const InProcessBusSettings& settings,
                                 MessagingFactory messaging)
    : m_name(service.GetName()) {
    auto operations = OperationsOf(service);
    for (const Operation& operation : operations) {
        m_operations.emplace(operation.name, m_operations.size());
    }
    auto runner = std::make_shared<const MessageRunner>(m_name, std::move(operations), std::move(messaging));
    m_pPool = WorkerPool::Create(
        settings,
        [runner = std::move(runner)](WorkerPool::Work message, const std::shared_ptr<HeldMessages>& held) {
            runner->Run(std::move(message), held);
        });
}

ServiceEndpoint::~ServiceEndpoint() = default;

void ServiceEndpoint::Deliver(std::string_view operation, CoreServices::Parameters request,
                              CoreServices::Parameters contextParameters,
                              std::unique_ptr<AnswerReceiver> receiver) {
    auto message = std::make_unique<QueuedMessage>(std::move(request), std::move(contextParameters),
                                                   std::move(receiver));
    if (auto refusal = RefusalOf(Post(operation, message))) {
        QueuedMessage::Refuse(std::move(message), std::move(*refusal));
    }
}

Acceptance ServiceEndpoint::Post(std::string_view operation, std::unique_ptr<QueuedMessage>& message) {
    const auto found = m_operations.find(operation);
    if (found == m_operations.end()) {
        return Acceptance::NotFound;
    }
    message->operation = found->second;
    return m_pPool->Post(message);
}

void ServiceEndpoint::Close(WorkerPool::Clock::time_point deadline) {
    for (auto& message : m_pPool->Close(deadline)) {
        QueuedMessage::Refuse(
            std::move(message),
            MessageAnswer::OfError(kServiceStopping,
                                   "The service \"" + m_name + "\" stopped before it came to the message."));
    }
    for (const auto& receiver : m_pPool->TakeHeld()) {
        Answer(receiver.get(), MessageAnswer::OfError(
                                   kServiceStopping,
                                   "The service \"" + m_name +
                                       "\" stopped before what the message stores was seen to be on disk."));
    }
}

}  // namespace PlatformAbstraction::Messaging
