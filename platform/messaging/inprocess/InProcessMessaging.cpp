#include "platform/messaging/inprocess/InProcessMessaging.h"

#include <string>
#include <utility>

#include "platform/messaging/HandlerInvocation.h"
#include "platform/messaging/inprocess/ServiceDirectory.h"

namespace PlatformAbstraction::Messaging {

namespace {

std::string Quoted(const std::string& text) {
    return '"' + text + '"';
}

MessageAnswer ServiceNotFound(const ServiceMessageDispatch& dispatch) {
    return MessageAnswer::OfError(
        kServiceNotFound, "The service " + Quoted(dispatch.service) + ", realm " + Quoted(dispatch.realm) +
                              ", version " + std::to_string(dispatch.version) + ", is not on the bus.");
}

std::optional<MessageAnswer> ErrorOf(Acceptance acceptance, const ServiceMessageDispatch& dispatch) {
    const std::string service = "The service " + Quoted(dispatch.service);
    const std::string operation = Quoted(dispatch.operation);
    switch (acceptance) {
        case Acceptance::Accepted:
            return std::nullopt;
        case Acceptance::NotFound:
            return MessageAnswer::OfError(kOperationNotFound,
                                          service + " has no operation " + operation + ".");
        case Acceptance::QueueFull:
            return MessageAnswer::OfError(
                kQueueFull, service + " did not take " + operation + ": too many messages are waiting.");
        case Acceptance::Stopping:
            return MessageAnswer::OfError(kServiceStopping,
                                          service + " did not take " + operation + ": it stops.");
    }
    return MessageAnswer::OfError(kGenericServiceError, service + " did not take " + operation + ".");
}

std::shared_ptr<MessageResultsFuture> EndedFuture(std::optional<MessageAnswer> error) {
    auto exchange = std::make_shared<MessageExchange>();
    exchange->End(error ? std::move(*error) : MessageAnswer());
    return std::make_shared<MessageResultsFuture>(std::move(exchange));
}

}  // namespace

InProcessMessaging::InProcessMessaging(std::shared_ptr<const ServiceDirectory> directory,
                                       CoreServices::Parameters contextParameters, MessageId handled)
    : m_pDirectory(std::move(directory)),
      m_contextParameters(std::move(contextParameters)),
      m_handled(handled) {}

std::shared_ptr<MessageResultsFuture> InProcessMessaging::SendRequest(
    const ServiceMessageDispatch& dispatch) {
    auto exchange = std::make_shared<MessageExchange>();
    auto message = MakeMessage(dispatch, exchange);
    message->isPartOfWorkUnderWay = WorkerPool::IsOnWorkerThread();
    if (auto error = Send(dispatch, std::move(message))) {
        exchange->End(std::move(*error));
    }
    return std::make_shared<MessageResultsFuture>(std::move(exchange));
}

std::shared_ptr<MessageResultsFuture> InProcessMessaging::SendNotification(
    const ServiceMessageDispatch& dispatch) {
    return EndedFuture(Send(dispatch, MakeMessage(dispatch, std::monostate())));
}

std::shared_ptr<MessageResultsFuture> InProcessMessaging::BroadcastNotification(
    const ServiceMessageDispatch& dispatch) {
    std::optional<MessageAnswer> firstError;
    if (const ServiceGroup* const group =
            m_pDirectory->Find(dispatch.service, dispatch.realm, dispatch.version)) {
        for (const auto& instance : group->GetInstances()) {
            auto message = MakeMessage(dispatch, std::monostate());
            auto error = ErrorOf(instance->Post(dispatch.operation, message), dispatch);
            firstError = firstError ? std::move(firstError) : std::move(error);
        }
    }
    return EndedFuture(std::move(firstError));
}

std::unique_ptr<QueuedMessage> InProcessMessaging::MakeMessage(const ServiceMessageDispatch& dispatch,
                                                               QueuedMessage::Receiver receiver) const {
    auto message =
        std::make_unique<QueuedMessage>(dispatch.parameters, m_contextParameters, std::move(receiver));
    message->parent = m_handled;
    return message;
}

std::optional<MessageAnswer> InProcessMessaging::Send(const ServiceMessageDispatch& dispatch,
                                                      std::unique_ptr<QueuedMessage> message) const {
    const ServiceGroup* const group = m_pDirectory->Find(dispatch.service, dispatch.realm, dispatch.version);
    if (group == nullptr) {
        return ServiceNotFound(dispatch);
    }
    const Acceptance acceptance = group->PostToOne(dispatch.operation, message);
    return acceptance == Acceptance::Accepted ? std::nullopt : ErrorOf(acceptance, dispatch);
}

}  // namespace PlatformAbstraction::Messaging
