#include "tests/support/FakeBusMessaging.h"

#include <utility>

namespace TestSupport {

using CoreServices::Parameters;
using PlatformAbstraction::Messaging::MessageAnswer;
using PlatformAbstraction::Messaging::MessageExchange;
using PlatformAbstraction::Messaging::MessageResultsFuture;

ScriptedAnswer ScriptedAnswer::From(const std::function<Answer(const Dispatch& dispatch)>& answer) {
    ScriptedAnswer scripted;
    scripted.m_onSend = [answer](Exchange& exchange, const Dispatch& to) { exchange.End(answer(to)); };
    return scripted;
}

ScriptedAnswer ScriptedAnswer::Results(const Parameters& results) {
    return From([results](const auto&) { return MessageAnswer::OfResults(results); });
}

ScriptedAnswer ScriptedAnswer::Text(const std::string& text) {
    return From([text](const auto&) { return MessageAnswer::OfText(text); });
}

ScriptedAnswer ScriptedAnswer::Error(const std::string& code, const std::string& message,
                                     const Parameters& details) {
    return From([=](const auto&) { return MessageAnswer::OfError(code, message, details); });
}

ScriptedAnswer ScriptedAnswer::Throws(const std::function<void()>& raise) {
    return From([raise](const auto&) { return raise(), MessageAnswer(); });
}

ScriptedAnswer ScriptedAnswer::ErrorWithoutDetails() {
    ScriptedAnswer scripted;
    scripted.m_onSend = [](Exchange& exchange, const auto&) { exchange.EndWithErrorWithoutDetails(); };
    return scripted;
}

ScriptedAnswer ScriptedAnswer::TimedOut() {
    ScriptedAnswer scripted;
    scripted.m_onSend = [](Exchange& exchange, const auto&) { exchange.TimeOut(); };
    return scripted;
}

ScriptedAnswer ScriptedAnswer::Never() {
    ScriptedAnswer scripted;
    scripted.m_onWait = [](auto&) {};
    return scripted;
}

ScriptedAnswer ScriptedAnswer::Late(const Parameters& results) {
    ScriptedAnswer scripted;
    scripted.m_onWait = [results](Exchange& exchange) { exchange.End(MessageAnswer::OfResults(results)); };
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
        if (m_scripted.m_onWait) {
            m_scripted.m_onWait(*m_pExchange);
            return false;
        }
        return MessageResultsFuture::WaitForDone(microseconds);
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

void FakeBusMessaging::Restart(const std::string& operation, ScriptedAnswer answer) {
    const std::scoped_lock lock(m_mutex, m_pWaits->mutex);
    m_sent.clear();
    m_pWaits->microseconds.clear();
    m_script = {{operation, {std::move(answer)}}};
}

std::vector<SentMessage> FakeBusMessaging::Sent() const {
    const std::lock_guard lock(m_mutex);
    return m_sent;
}

std::vector<std::int64_t> FakeBusMessaging::Waits() const {
    const std::lock_guard lock(m_pWaits->mutex);
    return m_pWaits->microseconds;
}

ScriptedAnswer FakeBusMessaging::TakeAnswer(SentMessage message) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_script.find(message.dispatch.operation);
    m_sent.push_back(std::move(message));
    if (found == m_script.end()) {
        return ScriptedAnswer::Error("OPERATION_NOT_FOUND", "No answer was scripted");
    }
    ScriptedAnswer scripted = found->second.front();
    if (found->second.size() > 1) {
        found->second.erase(found->second.begin());
    }
    return scripted;
}

FakeBusMessaging::Future FakeBusMessaging::Send(SentMessage::Kind kind, const Dispatch& dispatch) {
    const ScriptedAnswer scripted = TakeAnswer({kind, dispatch});
    auto exchange = std::make_shared<MessageExchange>();
    scripted.m_onSend(*exchange, dispatch);
    return std::make_shared<FakeFuture>(std::move(exchange), scripted, m_pWaits);
}

}  // namespace TestSupport
