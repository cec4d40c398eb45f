#include "platform/messaging/inprocess/QueuedMessage.h"

#include <exception>
#include <string>
#include <utility>

#include "base/log/PlatformLog.h"

namespace PlatformAbstraction::Messaging {

QueuedMessage::QueuedMessage(CoreServices::Parameters body, CoreServices::Parameters context,
                             Receiver receiver)
    : request(std::move(body)), contextParameters(std::move(context)), m_receiver(std::move(receiver)) {}

void QueuedMessage::End(MessageAnswer answer) noexcept {
    try {
        if (const auto* exchange = std::get_if<std::shared_ptr<MessageExchange>>(&m_receiver)) {
            (*exchange)->End(std::move(answer));
        } else if (const auto* callback = std::get_if<MessageSink::AnswerCallback>(&m_receiver)) {
            (*callback)(std::move(answer));
        }
    } catch (const std::exception& error) {
        Log::Error(std::string("An answer was lost, for its receiver failed: ") + error.what());
    } catch (...) {
        Log::Error("An answer was lost, for its receiver failed.");
    }
}

bool QueuedMessage::IsWithoutReceiver() const noexcept {
    return std::holds_alternative<std::monostate>(m_receiver);
}

}  // namespace PlatformAbstraction::Messaging
