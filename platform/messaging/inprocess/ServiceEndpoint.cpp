#include "platform/messaging/inprocess/ServiceEndpoint.h"

#include <utility>
#include <vector>

#include "base/log/PlatformLog.h"
#include "platform/messaging/HandlerInvocation.h"
#include "platform/messaging/inprocess/InProcessMessaging.h"

namespace PlatformAbstraction::Messaging {

namespace {

struct Operation {
    std::string name;
    HandlerFunction answer;
};

// What the threads of a service share: its handlers, and how these talk. It goes with the last thread.
class MessageRunner {
public:
    MessageRunner(std::string service, std::vector<Operation> operations,
                  std::shared_ptr<const ServiceDirectory> directory)
        : m_service(std::move(service)),
          m_operations(std::move(operations)),
          m_pDirectory(std::move(directory)) {}

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
                std::make_shared<InProcessMessaging>(m_pDirectory, message.contextParameters, NewMessageId());
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
    const std::shared_ptr<const ServiceDirectory> m_pDirectory;
};

std::vector<Operation> OperationsOf(const ServiceInfo& service) {
    std::vector<Operation> operations;
    for (const RegistrationParams& registration : service.GetRegistrations()) {
        operations.push_back({registration.name, FindHandlerFunction(service, registration.name)});
    }
    return operations;
}

}  // namespace

ServiceEndpoint::ServiceEndpoint(const ServiceInfo& service, const InProcessBusSettings& settings,
                                 std::shared_ptr<const ServiceDirectory> directory)
    : m_name(service.GetName()), m_realm(service.GetRealm()), m_version(service.GetVersion()) {
    auto operations = OperationsOf(service);
    for (const Operation& operation : operations) {
        m_operations.emplace(operation.name, m_operations.size());
    }
    auto runner = std::make_shared<const MessageRunner>(m_name, std::move(operations), std::move(directory));
    m_pPool = WorkerPool::Create(
        settings, [runner = std::move(runner)](QueuedMessage& message) { runner->Run(message); });
}

ServiceEndpoint::~ServiceEndpoint() = default;

bool ServiceEndpoint::IsAt(const std::string& service, const std::string& realm, std::int32_t version) const {
    return m_version == version && m_name == service && m_realm == realm;
}

Acceptance ServiceEndpoint::Post(std::string_view operation, std::unique_ptr<QueuedMessage>& message) {
    const auto found = m_operations.find(operation);
    if (found == m_operations.end()) {
        return Acceptance::NotFound;
    }
    message->operation = found->second;
    return m_pPool->Post(message);
}

void ServiceEndpoint::Drain() {
    m_pPool->Drain();
}

void ServiceEndpoint::WaitUntilQuiet(WorkerPool::Clock::time_point deadline) {
    m_pPool->WaitUntilQuiet(deadline);
}

void ServiceEndpoint::Close(WorkerPool::Clock::time_point deadline) {
    for (const auto& message : m_pPool->Close(deadline)) {
        message->End(MessageAnswer::OfError(
            kServiceStopping, "The service \"" + m_name + "\" stopped before it came to the message."));
    }
}

}  // namespace PlatformAbstraction::Messaging
