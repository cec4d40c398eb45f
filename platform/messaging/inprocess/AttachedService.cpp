#include "platform/messaging/inprocess/AttachedService.h"

#include <optional>
#include <utility>

#include "platform/messaging/HandlerInvocation.h"
#include "platform/messaging/inprocess/InProcessMessaging.h"
#include "platform/messaging/inprocess/ServiceDirectory.h"

namespace PlatformAbstraction::Messaging {

namespace {

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

}  // namespace

AttachedService::AttachedService(std::shared_ptr<const ServiceDirectory> directory,
                                 std::shared_ptr<ServiceEndpoint> endpoint)
    : m_pDirectory(std::move(directory)), m_pEndpoint(std::move(endpoint)) {}

void AttachedService::Deliver(std::string_view operation, CoreServices::Parameters request,
                              CoreServices::Parameters contextParameters, AnswerCallback onAnswer) {
    auto message = std::make_unique<QueuedMessage>(std::move(request), std::move(contextParameters),
                                                   std::move(onAnswer));
    if (auto refusal = RefusalOf(m_pEndpoint->Post(operation, message))) {
        message->End(std::move(*refusal));
    }
}

std::shared_ptr<BusMessaging> AttachedService::GetMessaging() const {
    return std::make_shared<InProcessMessaging>(m_pDirectory, CoreServices::Parameters());
}

}  // namespace PlatformAbstraction::Messaging
