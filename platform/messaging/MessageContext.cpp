#include "platform/messaging/MessageContext.h"

#include <atomic>
#include <exception>
#include <random>
#include <utility>

namespace PlatformAbstraction::Messaging {

namespace {

std::uint64_t RandomNumber() noexcept {
    try {
        std::random_device source;
        return (std::uint64_t{source()} << 32U) | source();
    } catch (const std::exception&) {
        return 0;  // then ids tell the messages of this process apart, and no more is lost
    }
}

// Drawn before `main`: no message is handled earlier.
const std::uint64_t g_process = RandomNumber();
std::atomic<std::uint64_t> g_lastNumber = 0;

}  // namespace

MessageId NewMessageId() noexcept {
    return {g_process, g_lastNumber.fetch_add(1, std::memory_order_relaxed) + 1};
}

MessageContext::MessageContext(CoreServices::Parameters contextParameters,
                               std::shared_ptr<BusMessaging> busMessaging, MessageId parentMessage)
    : m_pImpl(std::make_shared<const Impl>(
          Impl{std::move(contextParameters), std::move(busMessaging), parentMessage})) {}

CoreServices::Parameters MessageContext::GetContextParameters() const {
    return m_pImpl->contextParameters;
}

std::shared_ptr<BusMessaging> MessageContext::GetContextBusMessaging() const {
    return m_pImpl->busMessaging;
}

}  // namespace PlatformAbstraction::Messaging
