#include "platform/messaging/inprocess/QueuedMessage.h"

#include <exception>
#include <string>
#include <utility>

#include "base/log/PlatformLog.h"
#include "platform/messaging/inprocess/HeldMessages.h"

namespace PlatformAbstraction::Messaging {

namespace {

using CoreServices::Parameters;

template <typename Step>
void Guarded(Step step) noexcept {
    try {
        step();
    } catch (const std::exception& error) {
        Log::Error(std::string("An answer was lost, for its receiver failed: ") + error.what());
    } catch (...) {
        Log::Error("An answer was lost, for its receiver failed.");
    }
}

}  // namespace

void Answer(AnswerReceiver* receiver, MessageAnswer answer) noexcept {
    if (receiver != nullptr) {
        Guarded([&] {
            receiver->Prepare(std::move(answer));
            receiver->Send();
        });
    }
}

QueuedMessage::QueuedMessage(Parameters body, Parameters context, std::unique_ptr<AnswerReceiver> receiver)
    : request(std::move(body)), contextParameters(std::move(context)), m_pReceiver(std::move(receiver)) {}

void QueuedMessage::SetReceiver(std::unique_ptr<AnswerReceiver> receiver) noexcept {
    m_pReceiver = std::move(receiver);
}

void QueuedMessage::Refuse(std::unique_ptr<QueuedMessage> message, MessageAnswer answer) noexcept {
    Answer(message->m_pReceiver.get(), std::move(answer));
}

void QueuedMessage::EndWork(std::unique_ptr<QueuedMessage> message, MessageAnswer answer,
                            const std::shared_ptr<HeldMessages>& held) noexcept {
    if (message->m_pReceiver) {
        Guarded([&] { message->m_pReceiver->Prepare(std::move(answer)); });
    }
    // Here, and not on a thread that has many others to send.
    message->request = Parameters();
    message->contextParameters = Parameters();
    if (message->IsHeld()) {
        message->m_pHeldBy = held;
        held->Add(*message);
    }
    message.release()->End(true);
}

void QueuedMessage::GoOut(const std::string* failure) noexcept {
    const std::unique_ptr<QueuedMessage> self(this);
    if (m_pHeldBy) {
        m_pReceiver = m_pHeldBy->Remove(*this);
    }
    if (m_pReceiver) {
        Guarded([&] {
            if (failure != nullptr) {
                m_pReceiver->Prepare(MessageAnswer::OfError(kGenericServiceError, *failure));
            }
            m_pReceiver->Send();
        });
    }
    if (m_pHeldBy) {
        m_pHeldBy->Left();
    }
}

}  // namespace PlatformAbstraction::Messaging
