#include "platform/messaging/inprocess/AttachedService.h"

#include <utility>

#include "platform/messaging/inprocess/InProcessMessaging.h"
#include "platform/messaging/inprocess/ServiceDirectory.h"

namespace PlatformAbstraction::Messaging {

AttachedService::AttachedService(std::shared_ptr<const ServiceDirectory> directory,
                                 std::shared_ptr<ServiceEndpoint> endpoint)
    : m_pDirectory(std::move(directory)), m_pEndpoint(std::move(endpoint)) {}

MessageSink::Acceptance AttachedService::Deliver(const std::string& operation,
                                                 CoreServices::Parameters request,
                                                 CoreServices::Parameters contextParameters,
                                                 AnswerCallback onAnswer) {
    auto message = std::make_unique<QueuedMessage>(std::move(request), std::move(contextParameters),
                                                   std::move(onAnswer));
    return m_pEndpoint->Post(operation, message);
}

std::shared_ptr<BusMessaging> AttachedService::GetMessaging() const {
    return std::make_shared<InProcessMessaging>(m_pDirectory, CoreServices::Parameters());
}

}  // namespace PlatformAbstraction::Messaging
