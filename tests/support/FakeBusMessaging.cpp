#include "FakeBusMessaging.h"

#include <utility>

namespace TestSupport {

using CoreServices::Parameters;
using PlatformAbstraction::Messaging::MessageAnswer;
using PlatformAbstraction::Messaging::MessageExchange;
using PlatformAbstraction::Messaging::MessageResultsFuture;
using PlatformAbstraction::Messaging::ServiceMessageDispatch;

ScriptedAnswer ScriptedAnswer::Results(Parameters results) {
    return {Kind::Answer, MessageAnswer::OfResults(std::move(results))};
}

ScriptedAnswer ScriptedAnswer::Text(std::string text) {
    return {Kind::Answer, MessageAnswer::OfText(std::move(text))};
}

ScriptedAnswer ScriptedAnswer::Error(std::string code, std::string message, Parameters details) {
    return {Kind::Answer, MessageAnswer::OfError(std::move(code), std::move(message), std::move(details))};
}

ScriptedAnswer ScriptedAnswer::ErrorWithoutDetails() {
    return {Kind::ErrorWithoutDetails, MessageAnswer()};
}

ScriptedAnswer ScriptedAnswer::TimedOut() {
    return {Kind::TimedOut, MessageAnswer()};
}

ScriptedAnswer ScriptedAnswer::Never() {
    return {Kind::Never, MessageAnswer()};
}

ScriptedAnswer ScriptedAnswer::Late(Parameters results) {
    return {Kind::Late, MessageAnswer::OfResults(std::move(results))};
}

ScriptedAnswer ScriptedAnswer::Throws(std::function<void()> raise) {
    ScriptedAnswer scripted(Kind::Throws, MessageAnswer());
    scripted.m_raise = std::move(raise);
    return scripted;
}

ScriptedAnswer ScriptedAnswer::From(
    std::function<MessageAnswer(const ServiceMessageDispatch& dispatch)> answer) {
    ScriptedAnswer scripted(Kind::From, MessageAnswer());
    scripted.m_from = std::move(answer);
    return scripted;
}

/// A future whose wait takes no time, however long it was granted.
class FakeFuture final : public MessageResultsFuture {
public:
    FakeFuture(std::shared_ptr<MessageExchange> exchange, ScriptedAnswer scripted,
               std::shared_ptr<FakeBusMessaging::WaitLog> waits)
        : MessageResultsFuture(exchange),
          m_pExchange(std::move(exchange)),
          m_scripted(std::move(scripted)),
          m_pWaits(std::move(waits)) {}

    bool WaitForDone(std::int64_t microseconds) override {
        {
            const std::lock_guard lock(m_pWaits->mutex);
            m_pWaits->microseconds.push_back(microseconds);
        }
        switch (m_scripted.m_kind) {
            case ScriptedAnswer::Kind::Never:
                return false;
            case ScriptedAnswer::Kind::Late:
                m_pExchange->End(m_scripted.m_answer);
                return false;
            default:
                return MessageResultsFuture::WaitForDone(microseconds);
        }
    }

private:
    const std::shared_ptr<MessageExchange> m_pExchange;
    const ScriptedAnswer m_scripted;
    const std::shared_ptr<FakeBusMessaging::WaitLog> m_pWaits;
};

void FakeBusMessaging::On(const std::string& operation, ScriptedAnswer answer) {
    const std::lock_guard lock(m_mutex);
    m_script[operation].push_back(std::move(answer));
}

std::vector<SentMessage> FakeBusMessaging::Sent() const {
    const std::lock_guard lock(m_mutex);
    return m_sent;
}

std::vector<std::int64_t> FakeBusMessaging::Waits() const {
    const std::lock_guard lock(m_pWaits->mutex);
    return m_pWaits->microseconds;
}

bool FakeBusMessaging::WaitForSent(std::size_t count, std::chrono::milliseconds deadline) const {
    std::unique_lock lock(m_mutex);
    return m_sentChanged.wait_for(lock, deadline, [&] { return m_sent.size() >= count; });
}

FakeBusMessaging::Future FakeBusMessaging::SendRequest(const ServiceMessageDispatch& dispatch) {
    return Send(SentMessage::Kind::Request, dispatch);
}

FakeBusMessaging::Future FakeBusMessaging::SendNotification(const ServiceMessageDispatch& dispatch) {
    return Send(SentMessage::Kind::Notification, dispatch);
}

FakeBusMessaging::Future FakeBusMessaging::BroadcastNotification(const ServiceMessageDispatch& dispatch) {
    return Send(SentMessage::Kind::Broadcast, dispatch);
}

ScriptedAnswer FakeBusMessaging::TakeAnswer(SentMessage message) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_script.find(message.dispatch.operation);
    m_sent.push_back(std::move(message));
    m_sentChanged.notify_all();
    if (found == m_script.end()) {
        return ScriptedAnswer::Error("OPERATION_NOT_FOUND", "No answer was scripted");
    }
    ScriptedAnswer scripted = found->second.front();
    if (found->second.size() > 1) {
        found->second.erase(found->second.begin());
    }
    return scripted;
}

FakeBusMessaging::Future FakeBusMessaging::Send(SentMessage::Kind kind,
                                                const ServiceMessageDispatch& dispatch) {
    const ScriptedAnswer scripted = TakeAnswer({kind, dispatch});
    auto exchange = std::make_shared<MessageExchange>();
    switch (scripted.m_kind) {
        case ScriptedAnswer::Kind::Answer:
            exchange->End(scripted.m_answer);
            break;
        case ScriptedAnswer::Kind::From:
            exchange->End(scripted.m_from(dispatch));
            break;
        case ScriptedAnswer::Kind::ErrorWithoutDetails:
            exchange->EndWithErrorWithoutDetails();
            break;
        case ScriptedAnswer::Kind::TimedOut:
            exchange->TimeOut();
            break;
        case ScriptedAnswer::Kind::Throws:
            scripted.m_raise();
            break;
        case ScriptedAnswer::Kind::Never:
        case ScriptedAnswer::Kind::Late:
            break;
    }
    return std::make_shared<FakeFuture>(std::move(exchange), scripted, m_pWaits);
}

}  // namespace TestSupport
