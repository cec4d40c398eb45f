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

// What the threads of a service share: its handlers, and how these talk. It goes with the last thread.
class MessageRunner {
public:
    MessageRunner(std::string service, std::vector<Operation> operations, std::weak_ptr<InProcessBus> bus)
        : m_service(std::move(service)), m_operations(std::move(operations)), m_pBus(std::move(bus)) {}

    void Run(QueuedMessage& message) const noexcept {
        const Operation& operation = m_operations[message.operation];
        MessageAnswer answer = AnswerOf(operation, message);
        if (message.IsWithoutReceiver() && answer.kind == MessageAnswer::Kind::Error) {
            LogLostError(operation, answer);
        }
        message.End(std::move(answer));
    }

private:
    MessageAnswer AnswerOf(const Operation& operation, const QueuedMessage& message) const noexcept {
        try {
            auto messaging =
                std::make_shared<InProcessMessaging>(m_pBus, message.contextParameters, NewMessageId());
            auto context = std::make_shared<MessageContext>(message.contextParameters, std::move(messaging),
                                                            message.parent);
            return operation.answer(message.request, std::move(context));
        } catch (...) {
            return AnswerOfCurrentException();
        }
    }

    void LogLostError(const Operation& operation, const MessageAnswer& answer) const noexcept {
        try {
            Log::Warning("The notification \"" + operation.name + "\" to \"" + m_service + "\" failed: [" +
                         answer.code + "] " + answer.message);
        } catch (...) {  // memory is out; the message ends all the same
            return;
        }
    }

    const std::string m_service;
    const std::vector<Operation> m_operations;
    const std::weak_ptr<InProcessBus> m_pBus;
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
                                 std::weak_ptr<InProcessBus> bus)
    : m_name(service.GetName()) {
    auto operations = OperationsOf(service);
    for (const Operation& operation : operations) {
        m_operations.emplace(operation.name, m_operations.size());
    }
    auto runner = std::make_shared<const MessageRunner>(m_name, std::move(operations), std::move(bus));
    m_pPool = WorkerPool::Create(
        settings, [runner = std::move(runner)](QueuedMessage& message) { runner->Run(message); });
}

ServiceEndpoint::~ServiceEndpoint() = default;

void ServiceEndpoint::Deliver(std::string_view operation, CoreServices::Parameters request,
                              CoreServices::Parameters contextParameters, AnswerCallback onAnswer) {
    auto message = std::make_unique<QueuedMessage>(std::move(request), std::move(contextParameters),
                                                   std::move(onAnswer));
    if (auto refusal = RefusalOf(Post(operation, message))) {
        message->End(std::move(*refusal));
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
    for (const auto& message : m_pPool->Close(deadline)) {
        message->End(MessageAnswer::OfError(
            kServiceStopping, "The service \"" + m_name + "\" stopped before it came to the message."));
    }
}

}  // namespace PlatformAbstraction::Messaging
