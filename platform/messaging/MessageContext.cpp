#include "platform/messaging/MessageContext.h"

#include <utility>

namespace PlatformAbstraction::Messaging {

MessageContext::MessageContext(CoreServices::Parameters contextParameters,
                               std::shared_ptr<BusMessaging> busMessaging)
    : m_pImpl(std::make_shared<const Impl>(Impl{std::move(contextParameters), std::move(busMessaging)})) {}

CoreServices::Parameters MessageContext::GetContextParameters() const {
    return m_pImpl->contextParameters;
}

std::shared_ptr<BusMessaging> MessageContext::GetContextBusMessaging() const {
    return m_pImpl->busMessaging;
}

}  // namespace PlatformAbstraction::Messaging
